// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/video.h"

#include <syslog.h>

#include "container/metavideo.h"

namespace {
constexpr char kLogName[] = "video.c";
}

int VcdRead(const char *path, MediaInfo *record) {
    if (MpegVideoInfoGet(path, record) == 0)
        return 0;
    syslog(LOG_ERR, "%s (%d) Failed to parse dat metadata.", kLogName, __LINE__);
    return 1;
}
