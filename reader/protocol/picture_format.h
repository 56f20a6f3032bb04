// SPDX-License-Identifier: GPL-2.0-or-later
//
// The pictures that a cover may be, by their first bytes.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>

// The wire has these as numbers.
enum class PictureFormat : uint32_t { none, jpeg, png, webp, gif };

// As many bytes as it takes to tell.
inline constexpr size_t kPictureHeadSize = 12;

// Returns what a picture is whose first bytes (kPictureHeadSize of them, unless it is smaller) are `head`.
PictureFormat PictureFormatOf(std::span<const std::byte> head);
