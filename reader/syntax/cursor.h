// SPDX-License-Identifier: GPL-2.0-or-later
//
// Going through bytes that have been read. Taking more than there is gives what there is, or 0, and is remembered.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <span>
#include <string_view>

#include "platform/bytes.h"

using Bytes = std::span<const uint8_t>;

struct Cursor {
    Bytes rest;
    bool cut = false; // more was asked for than there was
};

inline Bytes Take(Cursor *cursor, uint64_t size) {
    cursor->cut = cursor->cut || size > cursor->rest.size();
    const Bytes taken =
        cursor->rest.first(static_cast<size_t>(std::min<uint64_t>(size, cursor->rest.size())));
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
