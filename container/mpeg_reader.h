// SPDX-License-Identifier: GPL-2.0-or-later
//
// MpegReader: the byte reader over one MPEG video file, and the search for start codes, which mark every
// structure of a stream (ISO/IEC 11172-2 section 2.3): the bytes 00 00 01 and one that tells which.
#pragma once

#include <stdint.h>

#include "audio/mp3_file.h"

struct MpegReader {
    Mp3FileCtx bytes;
    int version = 1; // 2 once a sequence extension, which MPEG-1 does not have, has been met
};

// Returns the byte at an offset; kUnreadByte (logged) for one that cannot be had.
int MpegReadByte(MpegReader *reader, int64_t offset);

// Returns the offset of the first prefix 00 00 01 at or after `offset`, or -1. The last place looked at is
// kMpegPrefixOffsetMax, or five bytes before the end of the file.
int64_t MpegFindPrefix(MpegReader *reader, int64_t offset);

// Returns the offset of the first prefix at or after `offset` that is followed by the byte `code`, or -1,
// which a negative offset gives too.
int64_t MpegFindStartCode(MpegReader *reader, int64_t offset, int code);
