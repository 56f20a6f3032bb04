// SPDX-License-Identifier: GPL-2.0-or-later
//
// Cover pictures by what is in them. COVERDIR/.pictures/xx/HASH is one more name of a cover's file, HASH that of the picture's
// size and its two ends, xx its first two digits: by it the next cover with the same picture finds the file, and becomes a name
// of it too. The name by content goes with the last cover. A hash only leads to a candidate, whose bytes are compared.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "platform/file_bytes.h"
#include "platform/handle.h"

// First digits of a hash, by which folders are grouped.
inline constexpr size_t kCoverGroupDigits = 2;

// Returns the name of a picture below the folder of all covers; empty when it cannot be read.
std::string CoverPictureName(const BytesRef &picture);

// Opens the file that has the name by content `path` when it holds that picture, and holds it on the disk as far as is known.
FdHandle CoverPictureFind(const std::string &path, const BytesRef &picture);

// Gives a cover a name by content, which another file may have had. False where files have one name only.
bool CoverPictureEnter(const std::string &cover, const std::string &path);

// To be called before a cover is removed or replaced: takes its name by content away when no other cover has the picture.
// `covers` is the folder of all covers; the cover's name counts from `folder`.
void CoverPictureLeave(int covers, int folder, const char *cover);
