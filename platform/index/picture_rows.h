// SPDX-License-Identifier: GPL-2.0-or-later
//
// What both catalogues have of a picture.
#pragma once

#include <stdint.h>

#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "platform/veluindex.h"

struct PictureColumns {
    std::string make;
    std::string model;
    std::string exposure;
    std::string fnumber;
    std::string date_taken;
    int64_t width = 0;
    int64_t height = 0;
    int64_t iso = 0;
    std::string create_time = {}; // as the catalogue writes it
    int64_t file_size = 0;
};

// Gets what the media catalogue has of a picture. Returns 1, 0 when it has no row, or -1 when that cannot be told.
int PictureRowOf(const char *path, PictureColumns *columns);

// What is told of a picture in a directory.
using PictureTake = std::function<void(std::string_view name, const PictureColumns &columns)>;

// Reads what a catalogue has of the pictures right in a directory. Returns 0, or -1 with some of them.
int PictureRowsRead(Catalogue catalogue, const char *directory, const PictureTake &take);

// Sets the mark of rows of photo_image. Returns 0 or -1.
int PictureRowsMark(std::span<const std::string> paths);
