// SPDX-License-Identifier: GPL-2.0-or-later
//
// The ID3v1 tag: the last 128 bytes of a file when they begin with "TAG".
#pragma once

#include "audio/mp3_file.h"

inline constexpr int64_t kId3v1TagBytes = 128;

// What follows "TAG" in the tag (125 bytes; the buffer has room for a whole tag). Text is filled up with
// zeros or blanks and need not be terminated. Zeroed before use.
struct Id3v1Block {
    char bytes[kId3v1TagBytes] = {};
};

inline constexpr size_t kId3v1TextBytes = 30;
inline constexpr size_t kId3v1YearBytes = 4;

inline constexpr size_t kId3v1Title = 0;
inline constexpr size_t kId3v1Artist = 30;
inline constexpr size_t kId3v1Album = 60;
inline constexpr size_t kId3v1Year = 90;
inline constexpr size_t kId3v1Comment = 94;
inline constexpr size_t kId3v11Mark = 122; // zero: the tag is ID3v1.1 and has a track number
inline constexpr size_t kId3v11Track = 123;
inline constexpr size_t kId3v1Genre = 124;

// Reads the tag, and takes it off the size that searches go by. Returns 1, 0 when there is none, -1 when it
// could not be read (logged). Text fields of blanks alone come out empty.
int Id3v1Read(Mp3FileCtx *ctx, Id3v1Block *block);
