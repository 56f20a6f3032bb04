// SPDX-License-Identifier: GPL-2.0-or-later
//
// What both catalogues have of a picture.
#pragma once

#include <stdint.h>

#include <string>

struct PictureColumns {
    std::string make;
    std::string model;
    std::string exposure;
    std::string fnumber;
    std::string date_taken;
    int64_t width = 0;
    int64_t height = 0;
    int64_t iso = 0;
};

// Gets what the media catalogue has of a picture. Returns 1, 0 when it has no row, or -1 when that cannot be told.
int PictureRowOf(const char *path, PictureColumns *columns);
