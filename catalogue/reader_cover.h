// SPDX-License-Identifier: GPL-2.0-or-later
//
// The cover of a media file: the picture that a reader has found in it, else that of its directory.
#pragma once

#include <string>
#include <vector>

#include "catalogue/file_readers.h"
#include "catalogue/media_info.h"
#include "platform/index/file_state.h"

struct FileCover {
    bool there = false;
    bool sure =
        true; // false: it could not be stored, or its picture may change unseen: it is to be looked at again
    std::string stamp; // what the stamp of the file says of it
};

// Stores it, and removes what covers the file had. Only songs and films have that of their directory; where that cannot be looked
// at, a cover that the file had stays.
FileCover FileCoverSave(const FileReport &report, MediaKind kind, const char *path, bool had_cover);

// Returns what the stamp of a file says of its cover when it has none in itself.
std::string FileCoverStamp(const FileReport &report);

// Whether the cover of a file's rows was in the file when it was read, by its state; true, too, when that may be.
[[nodiscard]] bool FileCoverIsOwn(const char *path, const FileState &state, const std::vector<FileRow> &rows);
