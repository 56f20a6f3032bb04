// SPDX-License-Identifier: GPL-2.0-or-later
//
// What differs between the major versions of ID3v2 tags (id3.org 2.2, 2.3.0 and 2.4.0).
#pragma once

#include <stdint.h>

// Major versions whose frames differ.
inline constexpr int kId3Version2 = 2;
inline constexpr int kId3Version3 = 3; // and later ones, but for the form of a frame's size

// The bytes of a frame's header in version 2, and in version 3 or later.
inline constexpr int64_t kId3FrameHeader22 = 6;
inline constexpr int64_t kId3FrameHeader23 = 10;
