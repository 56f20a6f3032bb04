// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reader of MPEG-1 and MPEG-2 video: program streams, elementary streams and Video CD data files (ISO/IEC
// 11172-1, 11172-2, 13818-1, 13818-2).
#pragma once

struct MediaInfo;

// Sets picture size, bit rates, duration, sample rate and channels of the record. Returns 0, or -1 (logged)
// when the file has no video that can be read; the fields are then zero, unless it could not be opened.
// Readers of the catalogue rely on units that are its own: video_bitrate is 1000 times the coded value (of
// 400 bit/s), audio_bitrate 1000 times bit/s, channels the channel mode of the frame header. Duration may be
// infinite.
int MpegVideoInfoGet(const char *path, MediaInfo *record);
