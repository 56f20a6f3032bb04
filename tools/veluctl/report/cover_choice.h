// SPDX-License-Identifier: GPL-2.0-or-later
//
// Cover pictures that a page can carry. Nothing here makes them smaller, so that large ones have no place; and
// they are somebody's files, so that only what begins as a picture is taken.
#pragma once

#include <stddef.h>

#include <string>

#include "reader/protocol/picture_format.h"

inline constexpr size_t kCoverBytesMax = 160 * 1024; // most covers of 500 by 500 pixels are smaller
inline constexpr int kCoverSideMax = 1600;           // pixels: a small file can ask a browser for much memory

enum class CoverFate {
    fit,
    gone,       // there is none
    unreadable, // for this user, or by the disk
    damaged,    // empty, or no picture by its first bytes
    large,      // kCoverBytesMax, kCoverSideMax
};

struct ChosenCover {
    CoverFate fate = CoverFate::gone;
    PictureFormat format = PictureFormat::none; // of one that is fit
    std::string bytes = {};
};

// Chooses the cover of a media file, the front cover if it has one. When no cover is fit, the fate is that of the last one.
ChosenCover CoverChoose(const std::string &media_path);
