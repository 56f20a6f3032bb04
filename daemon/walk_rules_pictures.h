// SPDX-License-Identifier: GPL-2.0-or-later
//
// The extensions of pictures that the rules `complete` know beside those that the appliance's web pages show.
#pragma once

#include <string_view>

inline constexpr std::string_view kCompletePictures[] = {
    "heic", "heif", "avif", "webp", "jxl", "jp2", "svg", "tga",
    // Raw photos.
    "cr2", "cr3", "crw", "dng", "nef", "nrw", "arw", "srf", "sr2", "orf", "rw2", "raf", "pef", "srw", "x3f",
    "3fr", "erf", "kdc", "mrw", "raw", "rwl", "iiq"};
