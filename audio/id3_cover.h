// SPDX-License-Identifier: GPL-2.0-or-later
//
// The picture frames of ID3v2: "PIC" of version 2 (id3.org 2.2 section 4.15), "APIC" of later ones (2.3.0
// section 4.15).
#pragma once

#include "audio/mp3_file.h"

// Stores the picture of the frame whose header is at `frame_pos` and whose data has `frame_size` bytes as
// cover number `cover_index` (from 1) of the media file `path`. `version` is the tag's major version. Returns
// 1 when a cover was stored, else 0; nothing is left behind then.
int Id3CoverSave(Mp3FileCtx *ctx, int64_t frame_pos, int cover_index, int version, uint32_t frame_size,
                 const char *path);
