// SPDX-License-Identifier: GPL-2.0-or-later
//
// The extensions of pictures that the rules `complete` know beside those that the appliance's web pages show.
#pragma once

#include <algorithm>
#include <iterator>
#include <span>
#include <string_view>

inline constexpr std::string_view kCompletePictures[] = {
    "heic", "heif", "avif", "webp", "jxl", "jp2", "svg", "tga",
    // Raw photos, up to the end.
    "cr2", "cr3", "crw", "dng", "nef", "nrw", "arw", "srf", "sr2", "orf", "rw2", "raf", "pef", "srw", "x3f",
    "3fr", "erf", "kdc", "mrw", "raw", "rwl", "iiq"};

// Those of them that are of cameras' raw photos.
inline constexpr std::span kRawPictures(std::ranges::find(kCompletePictures, std::string_view("cr2")),
                                        std::end(kCompletePictures));
