// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a cover picture is: by its type code, else by its own first bytes.
#pragma once

#include <stdint.h>
#include <string.h>

#include <span>

#include "compat/mp4v2/mp4.h"

// As many bytes as the longest signature has.
inline constexpr size_t kCoverSignatureMax = 8;

// Returns `code`, or the format that `picture` begins like when `code` names neither.
inline uint32_t CoverTypeOf(uint32_t code, std::span<const uint8_t> picture) {
    constexpr uint8_t kJpeg[] = {0xFF, 0xD8, 0xFF};
    constexpr uint8_t kPng[kCoverSignatureMax] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (code == kMp4CoverJpeg || code == kMp4CoverPng)
        return code;
    if (picture.size() >= sizeof kJpeg && memcmp(picture.data(), kJpeg, sizeof kJpeg) == 0)
        return kMp4CoverJpeg;
    if (picture.size() >= sizeof kPng && memcmp(picture.data(), kPng, sizeof kPng) == 0)
        return kMp4CoverPng;
    return code;
}
