// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_share.h"

#include <syslog.h>

namespace {
constexpr char kLogName[] = "photo_share.c";
}

int PhotoShareUpdate(const char *, int) {
    syslog(LOG_ERR, "%s (%d) PhotoShareUpdate not available.", kLogName, __LINE__);
    return -1;
}

int PhotoShareTreeAdd(const char *) {
    syslog(LOG_ERR, "%s (%d) PhotoShareTreeAdd not available.", kLogName, __LINE__);
    return -1;
}

int PhotoShareRename(const char *, const char *) {
    syslog(LOG_ERR, "%s (%d) PhotoShareRename not available.", kLogName, __LINE__);
    return -1;
}

int PhotoShareResync(const char *) {
    syslog(LOG_ERR, "%s (%d) PhotoShareResync not available.", kLogName, __LINE__);
    return -1;
}

void PhotoShareFsCheck() {
    syslog(LOG_ERR, "%s (%d) PhotoShareFsCheck not available.", kLogName, __LINE__);
}
