// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/metamedia.h"

#include "container/metamedia_child.h"
#include "container/probe_module/filter_support.h"
#include "container/probe_module/probe.h"
#include "platform/module.h"
#include "platform/veluindex.h"

#include <syslog.h>

#include <string>

namespace {

constexpr char kLogName[] = "metamedia.c";

// A share may hold thousands of files that need the probe: what is missing is said once.
bool missing_module_told = false;
bool missing_filter_told = false;

// Loaded here and not in the child, so that the libraries are relocated once and every child has them.
MediaProbe ProbeFind() {
    std::string error;
    void *entry = ModuleEntry(kProbeModule, kProbeEntry, &error);
    if (entry == nullptr && !missing_module_told) {
        missing_module_told = true;
        syslog(LOG_ERR, "%s:%d Cannot load the media probe: %s", kLogName, __LINE__, error.c_str());
    }
    return reinterpret_cast<MediaProbe>(entry);
}

} // namespace

int MiscMediaInfoGet(const char *path, MediaInfo *record) {
    const MediaProbe probe = ProbeFind();
    if (probe == nullptr)
        return kProbeFailed;
    if (!SyscallFilterSupported() && !missing_filter_told) {
        missing_filter_told = true;
        syslog(LOG_ERR, "%s:%d The kernel has no system call filter, the media probe runs without.", kLogName,
               __LINE__);
    }
    // A probe may take a minute and a half: what the run has written so far is not held back, nor the store locked.
    VELUIndexRunFlush();
    return MediaProbeRun(probe, path, record);
}
