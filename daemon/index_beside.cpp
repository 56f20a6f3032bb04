// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/index_beside.h"

#include <string>

#include "catalogue/shares.h"
#include "catalogue/sidecars.h"
#include "daemon/index.h"
#include "daemon/index_covers.h"
#include "photo/photo_index.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"

namespace {

// True for a file that is read together with the sidecars beside it.
bool TakesSidecars(const char *path) {
    const IndexHandler *handler = IndexHandlerOf(path);
    const ByReader *by =
        handler != nullptr ? IndexRecipeReader(IndexRecipeOf(handler->indexer), path) : nullptr;
    return by != nullptr && by->use.sidecars && IsIndexedPath(path) && !IsLeftOutPath(path);
}

void SidecarPhotosUpdate(const char *path) {
    if (RuleSetActive() != RuleSet::complete || !IsSidecar(path))
        return;
    for (const std::string &photo : PhotosOf(path)) {
        if (!TakesSidecars(photo.c_str()))
            continue;
        VELUIndexRunPause();
        if (IndexFileAdd(photo.c_str(), kIndexAdd) == 0 && IsInPhotoLibrary(photo.c_str()))
            PhotoLibraryFileUpdate(photo.c_str(), kIndexAdd);
    }
}

} // namespace

void BesideUpdate(const char *path) {
    SubtitleFilmsUpdate(path);
    CoverFilesUpdate(path);
    SidecarPhotosUpdate(path);
}
