// SPDX-License-Identifier: GPL-2.0-or-later
//
// Going through bytes that have been read. Taking more than there is gives what there is, or 0, and is remembered.
#pragma once

#include <algorithm>
#include <memory>
#include <string_view>

#include "platform/bytes.h"
#include "reader/input.h"

using Bytes = std::span<const uint8_t>;

struct Cursor {
    Bytes rest;
    bool cut = false; // more was asked for than there was
};

inline Bytes Take(Cursor *cursor, size_t size) {
    cursor->cut = cursor->cut || size > cursor->rest.size();
    const Bytes taken = cursor->rest.first(std::min(size, cursor->rest.size()));
    cursor->rest = cursor->rest.subspan(taken.size());
    return taken;
}

// A number of `size` bytes, at most 8.
inline uint64_t TakeNumber(Cursor *cursor, size_t size, ByteOrder order) {
    const Bytes taken = Take(cursor, size);
    return taken.size() == size ? BytesNumber(taken.data(), size, order) : 0;
}

inline uint64_t TakeBig(Cursor *cursor, size_t size) {
    return TakeNumber(cursor, size, ByteOrder::kBig);
}

inline uint64_t TakeLittle(Cursor *cursor, size_t size) {
    return TakeNumber(cursor, size, ByteOrder::kLittle);
}

inline std::string_view Characters(Bytes bytes) {
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

inline bool BeginsWith(Bytes bytes, std::string_view text) {
    return Characters(bytes).starts_with(text);
}

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
