// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/index_beside.h"

#include <sys/stat.h>

#include <string>

#include "catalogue/file_readers.h"
#include "catalogue/file_stamp.h"
#include "catalogue/shares.h"
#include "catalogue/sidecars.h"
#include "daemon/index.h"
#include "daemon/index_covers.h"
#include "photo/photo_index.h"
#include "platform/index/file_state.h"
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

// `library`: what the photo library has of it may have changed, too.
void FileUpdate(const std::string &path, bool library) {
    VELUIndexRunPause();
    if (IndexFileAdd(path.c_str(), kIndexAdd) == 0 && library && IsInPhotoLibrary(path.c_str()))
        PhotoLibraryFileUpdate(path.c_str(), kIndexAdd);
}

void SidecarPhotosUpdate(const char *path) {
    if (!IsSidecar(path))
        return;
    for (const std::string &photo : PhotosOf(path)) {
        if (TakesSidecars(photo.c_str()))
            FileUpdate(photo, true);
    }
}

// True for a file whose row says what was taken with it. One that has no row yet is asked for by a request of its own.
bool IsInStep(const std::string &path, const FileState &state) {
    return !state.stamp.empty() && FileStampHasCompanions(state.stamp, FileCompanions(path.c_str()));
}

bool IsAsItWasRead(const std::string &path, const FileState &state) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 &&
           FileStampHolds(state.stamp, FileStampOf(status)) >= StampHolds::own;
}

void CompanionsUpdate(const char *path) {
    for (const std::string &other : FileCompanions(path)) {
        FileState state;
        if (FileStateOf(other.c_str(), &state) == 1 && !IsInStep(other, state) &&
            !IsLeftOutPath(other.c_str()))
            FileUpdate(other, !IsAsItWasRead(other, state));
    }
}

} // namespace

void BesideUpdate(const char *path) {
    if (RuleSetActive() != RuleSet::complete)
        return;
    SubtitleFilmsUpdate(path);
    CoverFilesUpdate(path);
    SidecarPhotosUpdate(path);
    CompanionsUpdate(path);
}
