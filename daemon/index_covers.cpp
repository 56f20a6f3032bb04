// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/index_covers.h"

#include <dirent.h>

#include <algorithm>
#include <string>
#include <vector>

#include "catalogue/folder_cover.h"
#include "catalogue/util.h"
#include "daemon/index.h"
#include "platform/handle.h"
#include "platform/veluindex.h"

namespace {

// True for a file that has the cover of its directory, unless one of its own.
bool TakesCover(const char *path) {
    const IndexHandler *handler = IndexHandlerOf(path);
    const ByReader *by =
        handler != nullptr ? IndexRecipeReader(IndexRecipeOf(handler->indexer), path) : nullptr;
    return by != nullptr && by->use.folder_cover && IsIndexedPath(path);
}

} // namespace

void CoverFilesUpdate(const char *picture) {
    if (!IsFolderCover(PathBaseName(picture)))
        return;
    const std::string directory(picture, PathBaseName(picture));
    std::vector<std::string> files;
    const DirHandle open(opendir(directory.c_str()));
    while (const dirent *entry = open != nullptr ? readdir(open.get()) : nullptr) {
        const std::string path = directory + entry->d_name;
        if (TakesCover(path.c_str()))
            files.push_back(path);
    }
    std::ranges::sort(files);
    for (const std::string &file : files) {
        VELUIndexRunPause();
        if (!IsLeftOutPath(file.c_str()))
            IndexFileAdd(file.c_str(), kIndexAdd);
    }
}
