// SPDX-License-Identifier: GPL-2.0-or-later
//
// The fields of a record that a path and the file system give, and its numbers.
#pragma once

#include "catalogue/media_info.h"

// Fills path, file_size, title, album, create_time and modify_time of a zeroed record. Returns 0, or -1 for a
// missing or empty argument (logged) or a path that is not an existing file (silent).
int MediaInfoFillBasic(const char *path, MediaInfo *record);

// Returns the text after the last "/" of a path, within it; the whole path when it has none.
const char *PathBaseName(const char *path);

// Writes the base name up to its last "." (all of it when it has none), cut to the field.
void MediaTitleFromName(const char *path, char (&title)[kMediaTextSize]);

// Writes the name of the directory that holds the file; nothing when the path has fewer than two "/". Returns
// false when the field is too short for the name and its "/" (the caller logs it as impossible).
[[nodiscard]] bool MediaAlbumFromPath(const char *path, char (&album)[kMediaTextSize]);

// Fill the album, and title and album where they are empty, from the path. A default is single-byte text, so that the flag of
// the tag's empty field is cleared. A line about what is impossible has the module's name.
void MediaAlbumFill(const char *log_name, const char *path, MediaInfo *record);
void MediaDefaultsFill(const char *log_name, const char *path, MediaInfo *record);

// Returns the whole number that a count's field holds for a computed value: the largest for one that the
// field cannot hold, 0 for one that is no number above 0.
uint32_t MediaCountFrom(double value);
