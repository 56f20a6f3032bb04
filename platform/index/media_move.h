// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows that follow their files to another path, by the rules `complete`: with states, facts, entries and covers, and nothing is read
// again for that. What is at the new path gives way. Rows are moved as a whole: those of a tree in a statement a table.
#pragma once

#include <string>
#include <string_view>

// Moves the media rows at and below a path. Rows of directories are removed: whoever walks the new tree makes them. Neither path
// may lie in the other. Returns 0 or -1; done again, it moves what is left.
int MediaTreeMove(const char *new_path, const char *old_path);

// Removes the row of a directory, and nothing of what is in it.
int MediaDirectoryForget(const char *path);

// Of the rows of files right in a directory, gives those the new album whose album is the old one and was made from the
// directory's name, as their stamps say.
int MediaAlbumRename(const char *directory, std::string_view new_album, std::string_view old_album);

// What follows the new name of a file. A text without an old one stays as it is.
struct MediaMoved {
    std::string_view old_title = {}; // the row's title becomes the new one when it is this
    std::string_view new_title = {};
    std::string_view old_album = {}; // likewise
    std::string_view new_album = {};
    std::string_view create_time = {}; // the time of the file's status now; empty: it stays
    std::string_view stamp = {};       // by which the file counts as unchanged now
};

// Moves the media rows of a file. Returns 0 or -1.
int MediaFileMove(const char *new_path, const char *old_path, const MediaMoved &moved);
