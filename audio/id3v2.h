// SPDX-License-Identifier: GPL-2.0-or-later
//
// The ID3v2 tag at the head of a file (id3.org 2.2, 2.3.0 and 2.4.0): nine text fields and one picture. Text
// is not converted, and the walk over the frames ends at the first thing that does not look like one;
// extended headers, compression, encryption and unsynchronisation are not supported.
#pragma once

#include "audio/mp3_file.h"

// Sizes include a terminator. A field with its flag at 1 holds UTF-16 that begins with a byte-order mark and
// ends at a pair of zero bytes; any other field holds a frame's single bytes as they were.
struct Id3v2Tag {
    char title[1024];
    char artist[1024];
    char album[1024];
    char year[8];
    char genre[128];
    char track[8];
    char disc[8];
    char composer[1024];
    char comment[1024];
    int32_t title_utf16;
    int32_t artist_utf16;
    int32_t album_utf16;
    int32_t year_utf16;
    int32_t genre_utf16;
    int32_t composer_utf16;
    int32_t comment_utf16;
    int32_t cover_count; // pictures stored: 0 or 1
};

// Returns the position behind the tag, 0 when there is none. *version is then the tag's major version or 0.
int64_t Id3v2HeaderRead(Mp3FileCtx *ctx, int *version);

// Fill the tag record from the frames of a tag of version 2, and of version 3 or later. The first picture
// that can be stored becomes the cover of the media file `path`.
void Id3v22FramesRead(Id3v2Tag *tag, Mp3FileCtx *ctx, int version, const char *path);
void Id3v23FramesRead(Id3v2Tag *tag, Mp3FileCtx *ctx, int version, const char *path);

// Copies UTF-16 text that begins with a byte-order mark, up to its pair of zero bytes, into `limit` bytes.
// What does not fit is cut. Without a mark the result is empty.
void Id3CopyUtf16(const char *src, char *dst, size_t limit);
