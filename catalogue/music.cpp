// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/music.h"

#include <syslog.h>

#include "audio/metaid3.h"

namespace {
constexpr char kLogName[] = "music.c";
}

int MusicRead(const char *path, MediaInfo *record) {
    if (Mp3InfoGet(path, record) >= 0)
        return 0;
    syslog(LOG_ERR, "%s (%d) Failed to parse music metadata.", kLogName, __LINE__);
    return 1;
}
