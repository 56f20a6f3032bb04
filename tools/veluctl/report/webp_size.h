// SPDX-License-Identifier: GPL-2.0-or-later
//
// The size of a WebP picture (RFC 9649).
#pragma once

#include <string_view>

struct PixelSize {
    int width = 0; // 0: not known
    int height = 0;
};

// Reads the size of a picture from its first bytes, of which 30 are enough.
[[nodiscard]] PixelSize WebpSizeRead(std::string_view bytes);
