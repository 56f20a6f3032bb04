// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files that have moved, under the rule set `complete`: their rows go along, and are not made anew.
#pragma once

#include <string>

// Moves the media row of a file, with all that is known of it, when the file at the new path is the one that was read at the old
// one. Returns 1 when that is done, 0 when it is to be indexed anew, -1, logged, when the catalogue failed.
int MovedFileKeep(const char *new_path, const char *old_path);

// Moves the rows of a tree. Whatever is in the new one is still to be looked at. Returns 0 or -1, logged.
int MovedTreeKeep(const std::string &new_path, const std::string &old_path);

// Has the album of files right in a directory, where it was made from the directory's name, follow the new name. Likewise.
int MovedAlbumKeep(const std::string &new_path, const std::string &old_path);

// Moves the rows of a file or a tree that cannot be looked at, or is no more, where it is to be: of a file, what it has from its
// name follows the name. Likewise.
int MovedUnseenKeep(const std::string &new_path, const std::string &old_path);
