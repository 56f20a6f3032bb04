// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading bytes of the file: into memory of the caller, or of their own.
#pragma once

#include <memory>

#include "reader/input.h"
#include "reader/syntax/cursor.h"

// Returns how many bytes of `out` there are in the file at an offset.
inline size_t SoundRead(ReaderInput *input, int64_t offset, std::span<uint8_t> out) {
    return InputRead(input, offset, std::as_writable_bytes(out));
}

// Bytes of a file in memory of their own.
struct SoundBytes {
    std::unique_ptr<uint8_t[]> data;
    size_t size = 0;

    Bytes View() const { return {data.get(), size}; }
};

// Reads what the file has from `offset` on, at most `size` bytes, which are the caller's to bound.
inline SoundBytes SoundBytesRead(ReaderInput *input, int64_t offset, int64_t size) {
    SoundBytes bytes;
    size = std::min(size, input->size - offset);
    if (offset < 0 || size <= 0)
        return bytes;
    bytes.data = std::make_unique_for_overwrite<uint8_t[]>(static_cast<size_t>(size));
    bytes.size = SoundRead(input, offset, {bytes.data.get(), static_cast<size_t>(size)});
    return bytes;
}
