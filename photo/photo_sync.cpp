// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_sync.h"

#include <syslog.h>

namespace {
constexpr char kLogName[] = "photo_index.c";
}

int PhotoPathRename(const char *, const char *, int) {
    syslog(LOG_ERR, "%s (%d) PhotoPathRename not available.", kLogName, __LINE__);
    return -1;
}

int PhotoVideoInfoPathRename(int, const char *, const char *) {
    syslog(LOG_ERR, "%s (%d) PhotoVideoInfoPathRename not available.", kLogName, __LINE__);
    return -1;
}

int PhotoLibraryResync(const char *) {
    syslog(LOG_ERR, "%s (%d) PhotoLibraryResync not available.", kLogName, __LINE__);
    return -1;
}
