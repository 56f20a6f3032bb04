// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reader of MPEG-1 and MPEG-2 video: program streams, elementary streams and Video CD data files (ISO/IEC
// 11172-1, 11172-2, 13818-1, 13818-2).
#pragma once

struct MediaInfo;

// Fills picture size, bit rates, duration and audio parameters. Returns 0, or -1 (logged) when the file has
// no video that can be read.
int MpegVideoInfoGet(const char *path, MediaInfo *record);
