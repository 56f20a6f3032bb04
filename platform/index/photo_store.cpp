// SPDX-License-Identifier: GPL-2.0-or-later
//
// Writing rows of the photo catalogue.
#include <string.h>
#include <syslog.h>

#include <string>

#include "platform/index/rows.h"
#include "platform/index/run.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "photo_store.c";

// The tables of photo_image, video_desc and video_comment, whose rows follow the directory tree.
constexpr const char *kPathTables[] = {kPhotoTables[0], kPhotoTables[1], kPhotoTables[2]};

int BadParameter(int line) {
    syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, line);
    return -1;
}

} // namespace

int PhotoInfoDBDirDelete(const char *path) {
    const std::string directory = WithoutTrailingSlashes(path != nullptr ? path : "");
    if (directory.empty()) // a tree without a name would be everything
        return BadParameter(__LINE__);
    RunScope scope;
    for (const char *table : kPathTables)
        if (RemoveTree(Catalogue::photo, table, directory) < 0)
            return scope.Finish(-1);
    return scope.Finish(0);
}

int PhotoInfoDBDelete(const char *path) {
    if (path == nullptr || *path == '\0')
        return BadParameter(__LINE__);
    RunScope scope;
    return scope.Finish(RemoveRow(Catalogue::photo, kPhotoTables[0], path) < 0 ? -1 : 0);
}

int PhotoDBExec(const char *sql) {
    if (sql == nullptr || *sql == '\0')
        return BadParameter(__LINE__);
    RunScope scope;
    return scope.Finish(RunWriteText(Catalogue::photo, sql));
}
