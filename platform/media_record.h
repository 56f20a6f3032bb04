// SPDX-License-Identifier: GPL-2.0-or-later
//
// MediaInfo: the catalogue's record of one media file. Every reader fills one in place and the store writes
// it; programs of the appliance share the layout, so offsets and sizes are asserted below.
//
// Records are owned by the caller and zeroed before use. Text fields are NUL-terminated; what does not fit is
// cut. A text field whose *_utf16 flag is 1 holds raw UTF-16 bytes that begin with their byte-order mark and
// end at a pair of zero bytes; with flag 0 it holds single-byte text (UTF-8, or ISO-8859-1 until
// MediaInfoValid has seen it).
#pragma once

#include <stddef.h>
#include <stdint.h>

inline constexpr size_t kMediaPathSize = 4096;
inline constexpr size_t kMediaTextSize = 255;
inline constexpr size_t kMediaCameraSize = 100;
inline constexpr size_t kMediaExposureSize = 20;
inline constexpr size_t kMediaTimeSize = 32;

struct MediaInfo {
    int32_t reserved_head; // never set here; zero
    char path[kMediaPathSize];
    int32_t track;
    int32_t disc;
    int32_t year;
    char title[kMediaTextSize];
    char album[kMediaTextSize];
    char artist[kMediaTextSize];
    char genre[kMediaTextSize];
    char composer[kMediaTextSize];
    char comment[kMediaTextSize];
    char camera_make[kMediaCameraSize];
    char camera_model[kMediaCameraSize];
    char exposure_time[kMediaExposureSize];
    char f_number[kMediaExposureSize];
    char date_taken[kMediaTimeSize];  // "%d-%d-%d %d:%d:%d"
    char create_time[kMediaTimeSize]; // status change, as text
    char modify_time[kMediaTimeSize]; // last write, as text
    float duration;                   // seconds
    uint32_t audio_bitrate;           // bit/s
    uint32_t video_bitrate;           // bit/s
    uint32_t sample_rate;             // Hz
    uint32_t channels;
    uint32_t width;  // pixels
    uint32_t height; // pixels
    uint64_t file_size;
    int32_t reserved_mid; // never set here; zero
    int32_t title_utf16;
    int32_t artist_utf16;
    int32_t album_utf16;
    int32_t genre_utf16;
    int32_t composer_utf16;
    int32_t comment_utf16;
    int32_t reserved_flag; // never set here; zero
    uint32_t iso_speed;
    int32_t has_cover; // 1 when a cover picture of the file was stored
};

static_assert(offsetof(MediaInfo, path) == 4);
static_assert(offsetof(MediaInfo, track) == 4100);
static_assert(offsetof(MediaInfo, disc) == 4104);
static_assert(offsetof(MediaInfo, year) == 4108);
static_assert(offsetof(MediaInfo, title) == 4112);
static_assert(offsetof(MediaInfo, album) == 4367);
static_assert(offsetof(MediaInfo, artist) == 4622);
static_assert(offsetof(MediaInfo, genre) == 4877);
static_assert(offsetof(MediaInfo, composer) == 5132);
static_assert(offsetof(MediaInfo, comment) == 5387);
static_assert(offsetof(MediaInfo, camera_make) == 5642);
static_assert(offsetof(MediaInfo, camera_model) == 5742);
static_assert(offsetof(MediaInfo, exposure_time) == 5842);
static_assert(offsetof(MediaInfo, f_number) == 5862);
static_assert(offsetof(MediaInfo, date_taken) == 5882);
static_assert(offsetof(MediaInfo, create_time) == 5914);
static_assert(offsetof(MediaInfo, modify_time) == 5946);
static_assert(offsetof(MediaInfo, duration) == 5980);
static_assert(offsetof(MediaInfo, audio_bitrate) == 5984);
static_assert(offsetof(MediaInfo, video_bitrate) == 5988);
static_assert(offsetof(MediaInfo, sample_rate) == 5992);
static_assert(offsetof(MediaInfo, channels) == 5996);
static_assert(offsetof(MediaInfo, width) == 6000);
static_assert(offsetof(MediaInfo, height) == 6004);
static_assert(offsetof(MediaInfo, file_size) == 6008);
static_assert(offsetof(MediaInfo, reserved_mid) == 6016);
static_assert(offsetof(MediaInfo, title_utf16) == 6020);
static_assert(offsetof(MediaInfo, artist_utf16) == 6024);
static_assert(offsetof(MediaInfo, album_utf16) == 6028);
static_assert(offsetof(MediaInfo, genre_utf16) == 6032);
static_assert(offsetof(MediaInfo, composer_utf16) == 6036);
static_assert(offsetof(MediaInfo, comment_utf16) == 6040);
static_assert(offsetof(MediaInfo, reserved_flag) == 6044);
static_assert(offsetof(MediaInfo, iso_speed) == 6048);
static_assert(offsetof(MediaInfo, has_cover) == 6052);
static_assert(sizeof(MediaInfo) == 6056);
