// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_index.h"

#include <syslog.h>

namespace {
constexpr char kLogName[] = "photo_index.c";
}

int PhotoLibraryFileUpdate(const char *, int) {
    syslog(LOG_ERR, "%s (%d) PhotoLibraryFileUpdate not available.", kLogName, __LINE__);
    return -1;
}
