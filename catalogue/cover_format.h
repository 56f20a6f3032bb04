// SPDX-License-Identifier: GPL-2.0-or-later
//
// The formats of pictures as the catalogue's covers name them.
#pragma once

#include "platform/index/cover_place.h"
#include "platform/veluindex.h"
#include "reader/protocol/picture_format.h"

// Returns the format of the cover, 0 for none.
constexpr int CoverFormatOf(PictureFormat format) {
    switch (format) {
    case PictureFormat::jpeg:
        return kCoverJpeg;
    case PictureFormat::png:
        return kCoverPng;
    case PictureFormat::webp:
        return kCoverWebp;
    case PictureFormat::gif:
        return kCoverGif;
    case PictureFormat::none:
        break;
    }
    return 0;
}
