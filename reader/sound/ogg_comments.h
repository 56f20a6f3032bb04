// SPDX-License-Identifier: GPL-2.0-or-later
//
// Comments of an Ogg stream (RFC 3533) with large pictures, of which TagLib would hold the text of Base64 twice and the bytes once:
// it is shown the stream without them.
#pragma once

#include <stdint.h>

#include <vector>

#include "reader/input.h"

// A part of the second packet, or all of it, from one page.
struct OggPiece {
    int64_t offset; // in the file
    int64_t size;   // bytes
};

// What is left out of the comments: the value, as text.
struct OggPicture {
    int64_t offset; // in the packet
    int64_t size;   // bytes
    bool is_block;  // with its type and its kind in front of it, as in FLAC; else the picture alone
};

struct OggComments {
    std::vector<OggPiece> packet;
    std::vector<OggPicture> pictures;
    std::vector<uint8_t> head; // the stream's pages up to the comments' end, without the pictures
    int64_t rest = 0;          // where in the file goes on what follows `head`
};

// Where the comments begin in the stream's second packet, behind the mark of its coding: `first` and `second` are offsets of the
// packets in the file. -1: these are no such packets.
int64_t OggCommentsAt(ReaderInput *input, int64_t first, int64_t second);

// Returns where the first page behind `page` begins, and sets where its own content does; -1 where no page is.
int64_t OggPageSkip(ReaderInput *input, int64_t page, int64_t *content);

// Finds the comments' pictures. There is no head when they are short, or damaged, or in more pages than kSoundCommentPagesMax.
OggComments OggCommentsFind(ReaderInput *input);

// Takes the cover among the pictures, one in memory at a time.
void OggPicturesTake(ReaderInput *input, const OggComments &comments, PictureSink *sink);
