// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/media.h"

#include <syslog.h>

#include "container/metamedia.h"

namespace {
constexpr char kLogName[] = "media.c";
}

int ProbedAudioRead(const char *path, MediaInfo *record) {
    if (MiscMediaInfoGet(path, record) == 0)
        return 0;
    syslog(LOG_ERR, "%s:%d Failed to parse music metadata from file [%s].", kLogName, __LINE__, path);
    return 1;
}

int ProbedVideoRead(const char *path, MediaInfo *record) {
    if (MiscMediaInfoGet(path, record) == 0)
        return 0;
    syslog(LOG_ERR, "%s (%d) Failed to parse media metadata from file [%s].", kLogName, __LINE__, path);
    return 1;
}
