// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/folder_cover.h"

#include <dirent.h>
#include <errno.h>
#include <strings.h>

#include <algorithm>
#include <span>
#include <tuple>
#include <utility>

#include "catalogue/bounds.h"
#include "catalogue/cover_format.h"
#include "daemon/walk_rules.h"
#include "platform/file.h"
#include "platform/limits.h"
#include "platform/recent.h"

namespace {

// Its place in the list; the list's size when it is not there.
size_t PlaceIn(NameList names, std::string_view name) {
    const auto is_it = [name](std::string_view one) {
        return one.size() == name.size() && strncasecmp(one.data(), name.data(), name.size()) == 0;
    };
    return static_cast<size_t>(std::ranges::find_if(names, is_it) - names.begin());
}

// By how much a picture's name counts, what counts more first.
using Rank = std::tuple<size_t, size_t, std::string_view>;

Rank RankOf(std::string_view name) {
    const size_t dot = std::min(name.rfind('.'), name.size());
    return {PlaceIn(ActiveWalkRules().cover_names, name.substr(0, dot)),
            PlaceIn(ActiveWalkRules().cover_extensions, name.substr(std::min(dot + 1, name.size()))), name};
}

bool CountsMore(const std::string &one, const std::string &other) {
    return RankOf(one) < RankOf(other);
}

void NamesRead(FolderCovers::Directory *directory) {
    directory->names.clear();
    directory->unseen = false;
    const DirHandle open(opendir(directory->path.empty() ? "/" : directory->path.c_str()));
    while (const dirent *entry = DirectoryNext(open, &directory->unseen)) {
        if (!IsFolderCover(entry->d_name))
            continue;
        auto &names = directory->names;
        const std::string name = entry->d_name;
        names.insert(std::ranges::upper_bound(names, name, CountsMore), name);
        if (names.size() > kFolderCoversMax)
            names.pop_back();
    }
}

// What does not look like one is no picture.
bool IsFit(const struct stat &status) {
    return S_ISREG(status.st_mode) && status.st_size > 0 && status.st_size <= int64_t{kReaderPictureMax};
}

FolderCoverRef CoverLook(const FolderCovers::Directory &directory) {
    FolderCover cover;
    cover.looked = time(nullptr);
    cover.unseen = directory.unseen;
    for (const std::string &name : directory.names) {
        PictureBeside picture = {directory.path + '/' + name};
        const bool seen = stat(picture.path.c_str(), &picture.status) == 0;
        cover.unseen = cover.unseen || (!seen && !IsNoFile(errno));
        if (seen && IsFit(picture.status))
            cover.pictures.push_back(std::move(picture));
    }
    if (cover.pictures.empty() && !cover.unseen)
        return nullptr;
    cover.stamp = FileStampBeside(cover.pictures);
    if (directory.cover != nullptr && directory.cover->stamp == cover.stamp &&
        directory.cover->unseen == cover.unseen) // it has been stored, perhaps
        return directory.cover;
    return std::make_shared<FolderCover>(std::move(cover));
}

void DirectoryLook(FolderCovers::Directory *directory) {
    const bool holds = NamesHold(directory->path, &directory->age);
    if (!holds || directory->unseen)
        NamesRead(directory);
    directory->cover = CoverLook(*directory);
}

// Opens a picture that is still the one that was looked at; empty when it is none, or, with `unseen`, when it may be.
FdHandle PictureOpen(const PictureBeside &picture, PictureFormat *format, bool *unseen) {
    FdHandle file = OpenForReading(picture.path.c_str());
    *unseen = !file && !IsNoFile(errno);
    struct stat status;
    std::byte head[kPictureHeadSize];
    if (!file || fstat(file.get(), &status) != 0 || FileStampOf(status) != FileStampOf(picture.status))
        return {};
    const size_t got = FileReadUpTo(file, 0, head, sizeof head);
    *format = PictureFormatOf(std::span(head).first(got));
    return file;
}

} // namespace

bool IsFolderCover(std::string_view name) {
    const auto [named, extension, all] = RankOf(name);
    return named < ActiveWalkRules().cover_names.size() &&
           extension < ActiveWalkRules().cover_extensions.size();
}

FolderCoverRef FolderCoverOf(FolderCovers *known, const std::string &media_path, bool ahead) {
    const size_t slash = media_path.rfind('/');
    if (slash == std::string::npos)
        return nullptr;
    const std::string path = media_path.substr(0, slash);
    FolderCovers::Directory &directory =
        RecentOf(&known->directories, &FolderCovers::Directory::path, path, kKnownDirectories,
                 [](const std::string &asked) { return FolderCovers::Directory{asked}; });
    if (!ahead || !directory.walked)
        DirectoryLook(&directory);
    directory.walked = ahead;
    return directory.cover;
}

FolderCoverEnd FolderCoverStore(FolderCover *cover, const char *media_path) {
    if (cover->unseen)
        return FolderCoverEnd::unseen;
    for (const PictureBeside &picture : cover->pictures) {
        PictureFormat format = PictureFormat::none;
        bool unseen = false;
        const FdHandle file = PictureOpen(picture, &format, &unseen);
        if (!file) // if it has changed since, it will be looked at again
            return unseen ? FolderCoverEnd::unseen : FolderCoverEnd::failed;
        if (format == PictureFormat::none)
            continue;
        const auto bytes = static_cast<uint64_t>(picture.status.st_size);
        if (CoverStore(media_path, {{bytes, file.get()}, CoverFormatOf(format)}, &cover->stored) != 0)
            return FolderCoverEnd::failed;
        return FileIsRecent(picture.status, cover->looked) ? FolderCoverEnd::unsure : FolderCoverEnd::stored;
    }
    return FolderCoverEnd::none;
}
