// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/reader_cover.h"

#include <algorithm>
#include <string_view>

#include "audio/cover_file.h"
#include "catalogue/cover_format.h"
#include "platform/index/cover_store.h"
#include "reader/protocol/fact_names.h"

namespace {

FileCover OwnCoverSave(const ReadPictureRef &picture, const char *path) {
    if (picture->stored == nullptr)
        picture->stored = std::make_shared<CoverStored>();
    const bool stored = CoverStore(path, {ReadPictureBytes(*picture), CoverFormatOf(picture->format)},
                                   picture->stored.get()) == 0;
    return {stored, stored, kStampOwnCover};
}

} // namespace

FileCover FileCoverSave(const FileReport &report, MediaKind kind, const char *path, bool had_cover) {
    if (report.read.picture != nullptr)
        return OwnCoverSave(report.read.picture, path);
    FileCover cover = {.stamp = FileCoverStamp(report)};
    if (report.folder_cover != nullptr && (kind == kMediaMusic || kind == kMediaVideo)) {
        const FolderCoverEnd end = FolderCoverStore(report.folder_cover.get(), path);
        if (end == FolderCoverEnd::unseen)
            return {had_cover, false, cover.stamp};
        cover.there = end == FolderCoverEnd::stored || end == FolderCoverEnd::unsure;
        cover.sure = end == FolderCoverEnd::stored || end == FolderCoverEnd::none;
    }
    if (!cover.there)
        CoversClean(path);
    return cover;
}

std::string FileCoverStamp(const FileReport &report) {
    return report.folder_cover != nullptr ? report.folder_cover->stamp : std::string();
}

bool FileCoverIsOwn(const char *path, const FileState &state, const std::vector<FileRow> &rows) {
    if (std::ranges::none_of(rows, &FileRow::has_cover))
        return false;
    if (!state.stamp.empty() || !state.trouble.empty())
        return FileStampCover(state.stamp) == kStampOwnCover;
    // Of one that was never read there is hardly more than its name.
    std::vector<std::string> containers;
    const std::string_view name = FactKindOf(FactName::container).word;
    return FileFactsOf(path, name, &containers) != 0 || !containers.empty();
}
