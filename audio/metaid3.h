// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reader of MP3 files: ID3v2 and ID3v1 tags (id3.org), MPEG audio frame headers (ISO/IEC 11172-3, 13818-3),
// Xing and VBRI headers, embedded cover pictures.
#pragma once

struct MediaInfo;

// Fills the record from the file's tags and frames and stores its cover picture. Returns 0, or -1 (logged)
// when the file has no MPEG audio that can be read; the record is then unchanged.
int Mp3InfoGet(const char *path, MediaInfo *record);
