// SPDX-License-Identifier: GPL-2.0-or-later
//
// Values by their place. The library's own look-up builds the text of every key on the way.
#pragma once

#include <stdint.h>

#include <string_view>
#include <vector>

#include "reader/photo/exiv2.h"

// Return the first value of a place, or null.
const Exiv2::Value *ExifFind(const Exiv2::ExifData &exif, std::string_view directory, uint16_t tag);
const Exiv2::Value *XmpFind(const Exiv2::XmpData &xmp, std::string_view schema, std::string_view name);

// Returns all values of a data set of the application record.
std::vector<const Exiv2::Value *> IptcFind(const Exiv2::IptcData &iptc, uint16_t data_set);
