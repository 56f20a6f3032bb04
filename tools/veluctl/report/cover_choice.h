// SPDX-License-Identifier: GPL-2.0-or-later
//
// Cover pictures that a page can carry. Nothing here makes them smaller, so that large ones have no place; and
// they are somebody's files, so that only what begins as a picture is taken.
#pragma once

#include <stddef.h>

#include <string>

#include "tools/veluctl/report/html_writer.h"

inline constexpr size_t kCoverBytesMax = 160 * 1024; // most covers of 500 by 500 pixels are smaller
inline constexpr int kCoverSideMax = 1600;           // pixels: a small file can ask a browser for much memory
inline constexpr size_t kCoverWallBytesMax = 3 * 1024 * 1024; // of all covers: four MB in the page

enum class PictureKind { none, jpeg, png };

// Tells the kind of a picture by its first bytes.
PictureKind PictureKindOf(std::string_view bytes);

struct ChosenCover {
    PictureKind kind = PictureKind::none;
    std::string bytes = {};
};

// Chooses the cover of a media file, the front cover if it has one. Its kind is `none` when no cover is fit.
ChosenCover CoverChoose(const std::string &media_path);
