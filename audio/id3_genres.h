// SPDX-License-Identifier: GPL-2.0-or-later
//
// The genre names of ID3v1 by number (0 to 79 of the original list, the rest by common use).
#pragma once

inline constexpr int kId3GenreCount = 148;

extern const char *const Id3GenreNames[kId3GenreCount];
