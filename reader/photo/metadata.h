// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a picture says of itself, in the library's terms.
#pragma once

#include <stdint.h>

#include <span>
#include <string>
#include <string_view>

#include "reader/photo/exiv2.h"
#include "reader/protocol/fact_list.h"

struct PhotoSize {
    uint64_t width = 0;
    uint64_t height = 0;
};

struct PhotoMetadata {
    Exiv2::ExifData exif;
    Exiv2::IptcData iptc;
    Exiv2::XmpData xmp;
    std::string comment; // of the format's own kind
    std::string charset; // of its text that does not say so itself
    PhotoSize size;      // as coded; 0: not told
    FactSource size_source = FactSource::own;
};

// Read blocks as they lie in files. What they hold that is no good is left out; they throw nothing.
void ExifBlockRead(std::span<const uint8_t> tiff, PhotoMetadata *metadata);
// The same behind what boxes have in front of it: the bytes to the TIFF header, and those.
void ExifItemRead(std::span<const uint8_t> item, PhotoMetadata *metadata);
void XmpBlockRead(std::string_view packet, PhotoMetadata *metadata);
