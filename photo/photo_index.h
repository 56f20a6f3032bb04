// SPDX-License-Identifier: GPL-2.0-or-later
//
// The photo library's row of one file.
#pragma once

#include <stdint.h>
#include <time.h>

#include "platform/veluindex.h"

// Saves the row of a picture. `mode` (kIndexAdd or kIndexUpdate) goes to the store as it is. Returns 0 when
// saved, else -1; hidden files, attribute directories ("@eaDir"), empty files and those of 20 MiB or
// more are left out.
int PhotoIndexAdd(const char *path, int mode);

// Removes the row of a picture that is gone. Returns 0 when that was tried, -1 when the file is there or no
// picture of the library.
int PhotoIndexDelete(const char *path);

// Handles one file event of the photo share, with the mode kIndexAdd, kIndexRemove or kIndexUpdate.
// Returns 0 when handled, -1 when the file is not the photo library's or the arguments are bad. `missed` is set when it is
// a picture that was to be saved, and was not.
int PhotoLibraryFileUpdate(const char *path, int mode, bool *missed = nullptr);

// True for what is, or lies in, the photo share of a machine that has a photo library.
[[nodiscard]] bool IsInPhotoLibrary(const char *path);

// True for a regular file of so many bytes that the photo library has a row of.
[[nodiscard]] bool IsLibraryPicture(const char *path, int64_t size);

// Writes a time as the column create_time has it; empty for a year of more than four digits.
void PhotoTimeText(time_t time, char *text, size_t size);

// What the photo library makes of a file, by its extension.
enum class PhotoFileKind { none, picture, web_video, video };

PhotoFileKind PhotoFileKindOf(const char *path);

// True for a path with the extension of a film.
[[nodiscard]] bool HasFilmExtension(const char *path);
