// SPDX-License-Identifier: GPL-2.0-or-later
//
// The first bytes of what a file holds, which is where its tags of other formats end, and single bytes further on.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <array>
#include <string_view>

#include "platform/limits.h"
#include "reader/input.h"

struct ContentHead {
    ReaderInput *input;
    int64_t begin; // in the file
    size_t size = 0;
    std::array<uint8_t, kContentHead> bytes; // `size` of them are there
};

ContentHead HeadRead(ReaderInput *input, int64_t begin);

// The head as characters.
std::string_view HeadText(const ContentHead &head);

// True when `bytes` stand at `offset` of the head.
bool HeadHas(const ContentHead &head, size_t offset, std::string_view bytes);

// Reads `size` bytes at `offset` of the file; false when it does not hold them all.
[[nodiscard]] bool FileBytes(ReaderInput *input, int64_t offset, uint8_t *out, size_t size);
