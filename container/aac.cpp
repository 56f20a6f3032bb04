// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/aac.h"

#include <syslog.h>

#include "catalogue/util.h"

namespace {

constexpr char kLogName[] = "aac.c";

// The decoder is not asked in this build: every file counts as one that it cannot read.
int AacMetadataRead(const char *, MediaInfo *) {
    return -1;
}

} // namespace

int AacFileIndex(const char *path) {
    if (path == nullptr) {
        syslog(LOG_ERR, "%s:%d Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    MediaInfo record = {};
    if (MediaInfoFillBasic(path, &record) != 0)
        return -1;
    const int result = AacMetadataRead(path, &record) == 0 ? 0 : 1;
    // A save that fails is logged and leaves the result as it is.
    if (MediaInfoDBSave(kMediaMusic, &record) != 0)
        syslog(LOG_ERR, "%s:%d Failed to save media info to database. [%s]", kLogName, __LINE__, path);
    return result;
}
