// SPDX-License-Identifier: GPL-2.0-or-later
//
// PhotoRecord: one row of the photo library, as PhotoInfoDBSave takes it. Owned by the caller and zeroed
// before use; text fields are NUL-terminated and cut to their size.
#pragma once

#include <stddef.h>
#include <stdint.h>

inline constexpr size_t kPhotoPathSize = 4096;
inline constexpr size_t kPhotoTextSize = 255;
inline constexpr size_t kPhotoCameraSize = 100;
inline constexpr size_t kPhotoExposureSize = 20;
inline constexpr size_t kPhotoTimeSize = 32;

struct PhotoRecord {
    int32_t id; // left 0: the store allocates it
    char path[kPhotoPathSize];
    char name[kPhotoTextSize];        // last component of the path
    char title[kPhotoTextSize];       // as typed by a user, else the name without its extension
    char description[kPhotoTextSize]; // as typed by a user, else empty
    char album[kPhotoTextSize];       // name of the containing directory
    char make[kPhotoCameraSize];
    char model[kPhotoCameraSize];
    char exposure[kPhotoExposureSize];
    char fnumber[kPhotoExposureSize];
    char date_taken[kPhotoTimeSize];  // "%Y:%m:%d %H:%M:%S", or "%F %T" when taken from the file's times
    char create_time[kPhotoTimeSize]; // status change, as ctime() writes it
    int32_t width;                    // pixels
    int32_t height;                   // pixels
    int32_t iso;
    int64_t file_size;
};

static_assert(offsetof(PhotoRecord, path) == 4);
static_assert(offsetof(PhotoRecord, name) == 4100);
static_assert(offsetof(PhotoRecord, title) == 4355);
static_assert(offsetof(PhotoRecord, description) == 4610);
static_assert(offsetof(PhotoRecord, album) == 4865);
static_assert(offsetof(PhotoRecord, make) == 5120);
static_assert(offsetof(PhotoRecord, model) == 5220);
static_assert(offsetof(PhotoRecord, exposure) == 5320);
static_assert(offsetof(PhotoRecord, fnumber) == 5340);
static_assert(offsetof(PhotoRecord, date_taken) == 5360);
static_assert(offsetof(PhotoRecord, create_time) == 5392);
static_assert(offsetof(PhotoRecord, width) == 5424);
static_assert(offsetof(PhotoRecord, height) == 5428);
static_assert(offsetof(PhotoRecord, iso) == 5432);
static_assert(offsetof(PhotoRecord, file_size) == 5440);
static_assert(sizeof(PhotoRecord) == 5448);
