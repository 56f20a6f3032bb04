// SPDX-License-Identifier: GPL-2.0-or-later
//
// The picture in a directory that is the cover of its songs and films, of those that have none in themselves.
#pragma once

#include <sys/stat.h>
#include <time.h>

#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/file_stamp.h"
#include "catalogue/names_age.h"
#include "platform/index/cover_store.h"

// What may be the cover of a directory's files, the one that counts most first: the first that is a picture by its first bytes
// is it.
struct FolderCover {
    std::vector<PictureBeside> pictures = {};
    std::string stamp = {}; // what is said of them in the stamps of the files
    bool unseen = false;    // there may be others, which cannot be looked at
    time_t looked = 0;
    CoverStored stored = {};
};
using FolderCoverRef = std::shared_ptr<FolderCover>;

// Those of the directories that were asked about last.
struct FolderCovers {
    struct Directory {
        std::string path;
        NamesAge age = {};
        std::vector<std::string> names = {}; // of those that may be covers
        bool unseen = false;                 // there may be more
        FolderCoverRef cover = {};
        bool walked = false; // by a walk, which comes to it once
    };
    std::list<Directory> directories = {}; // the last one first
};

// Returns what may be the cover of a media file; null when there is nothing. With `ahead` its directory is looked at once, because
// others of it will follow.
FolderCoverRef FolderCoverOf(FolderCovers *known, const std::string &media_path, bool ahead);

// True for the name of a picture that may be the cover of what lies beside it, by the rules that hold.
[[nodiscard]] bool IsFolderCover(std::string_view name);

enum class FolderCoverEnd {
    none, // there is none
    stored,
    unsure, // it was stored, but is so new that another change might not show
    failed,
    unseen, // there may be one
};

// Makes it the cover of a media file.
FolderCoverEnd FolderCoverStore(FolderCover *cover, const char *media_path);
