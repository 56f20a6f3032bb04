// SPDX-License-Identifier: GPL-2.0-or-later
//
// The bytes of a picture file through a small window, which is all that the size readers see of it: a camera
// picture of any size costs one or a few reads and no memory but the window.
#pragma once

#include "platform/limits.h"

#include <stddef.h>
#include <stdint.h>

#include <array>

// Where the bytes come from. `read` copies up to `size` bytes from `offset` to `out` and returns how many;
// fewer than asked for means the end or a failure.
struct ImageSource {
    size_t (*read)(void *context, uint64_t offset, uint8_t *out, size_t size);
    void *context;
};

struct ImageReader {
    ImageSource source;
    uint64_t start = 0;
    size_t length = 0;
    std::array<uint8_t, kImageWindow> window{};
};

// Returns `size` bytes (at most kImageWindow) at `offset`, valid until the next call; null when the file does
// not hold them all.
const uint8_t *ImageBytes(ImageReader *reader, uint64_t offset, size_t size);
