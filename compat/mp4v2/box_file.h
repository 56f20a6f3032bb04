// SPDX-License-Identifier: GPL-2.0-or-later
//
// BoxFile: the bytes of an MP4 file through a small window. Boxes that are stepped over are never read, so
// that a film costs no more than a song.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <array>

#include "platform/handle.h"
#include "platform/limits.h"

struct BoxFile {
    FdHandle fd;
    uint64_t size = 0;
    uint32_t boxes_left = kMp4BoxesMax; // how many more boxes may be looked at
    uint64_t window_start = 0;
    size_t window_length = 0;
    std::array<uint8_t, kMp4Window> window; // the first window_length bytes count
};

// Opens a regular file; false for anything else, which is not touched.
[[nodiscard]] bool BoxFileOpen(BoxFile *file, const char *path);

// Returns `size` bytes (at most kMp4Window) at `offset`, valid until the next call; null when the file does
// not hold them all.
const uint8_t *BoxFileBytes(BoxFile *file, uint64_t offset, size_t size);

// Copies `size` bytes at `offset`, past the window. False when the file does not hold them all.
[[nodiscard]] bool BoxFileCopy(const BoxFile &file, uint64_t offset, uint8_t *out, size_t size);
