// SPDX-License-Identifier: GPL-2.0-or-later
//
// Keeps the photo library's rows in step with renames and with the disk.
#pragma once

#include <string>
#include <vector>

// Follows the rename of a file (is_dir 0) or directory in the photo rows. Returns 0 or -1.
int PhotoPathRename(const char *new_path, const char *old_path, int is_dir);

// Follows a rename in the path column of kPhotoTableVideoDesc or kPhotoTableVideoComment. Returns 0 or -1.
int PhotoVideoInfoPathRename(int table, const char *new_prefix, const char *old_prefix);

// Follows a rename long after it has happened: rows whose files are gone move, what has none is added.
void PhotoRenameAgain(const char *new_path, const char *old_path);

// Brings the rows of one directory in step with its entries, the names in it that have a "." (not in front).
// With `again`, for a request that may have been carried out in part, a picture that has lost its row in the
// media catalogue gets one. Returns 0 or -1.
int PhotoDirRefresh(const char *dir, const std::vector<std::string> *entries, bool again = false);

// Brings the rows in step with the tree at `path`, or with the whole photo share when it is null. `again` as
// above. Returns 0 or -1.
int PhotoLibraryResync(const char *path, bool again = false);
