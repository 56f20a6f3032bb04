// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/directory.h"

#include <syslog.h>

#include "catalogue/media_info.h"
#include "platform/velusdk.h"

namespace {
constexpr char kLogName[] = "directory.c";
}

int DirectoryAdd(const char *path) {
    if (path == nullptr) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    if (!IsDirExist(path))
        return -1;
    if (MediaInfoDBDirSave(path) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to save directory info to database.", kLogName, __LINE__);
        return -1;
    }
    return 0;
}
