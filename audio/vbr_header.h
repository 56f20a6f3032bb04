// SPDX-License-Identifier: GPL-2.0-or-later
//
// Xing and VBRI headers: the frame and byte counts that encoders put into the first frame of a file of
// variable bit rate.
#pragma once

#include "audio/mp3_file.h"
#include "audio/mpeg_header.h"

// Look for the header from `start` on in the first quarter of the file, and replace the duration and, where
// the header tells the size, the bit rate of `info` by its values. Return 0 when a header was found and used,
// else -1. `info` must hold an accepted frame header.
int XingHeaderRead(Mp3FileCtx *ctx, int64_t start, MpegHeaderInfo *info);
int VbriHeaderRead(Mp3FileCtx *ctx, int64_t start, MpegHeaderInfo *info);
