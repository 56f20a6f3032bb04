// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/mp4_box.h"

namespace {

constexpr int64_t kHeaderSize = 8;
constexpr int64_t kLongHeaderSize = 16;

} // namespace

bool Mp4BoxTake(Mp4Walk *walk, int64_t *at, int64_t end, Mp4Box *box) {
    uint8_t bytes[kLongHeaderSize] = {};
    if (end - *at < kHeaderSize || walk->boxes_left <= 0 ||
        SoundRead(walk->input, *at, bytes) < static_cast<size_t>(kHeaderSize))
        return false;
    --walk->boxes_left;
    uint64_t size = BigEndian32(bytes);
    int64_t header = kHeaderSize;
    if (size == 1) {
        size = BigEndian64(bytes + 8);
        header = kLongHeaderSize;
    } else if (size == 0) {
        size = static_cast<uint64_t>(end - *at);
    }
    if (size < static_cast<uint64_t>(header) || end - *at < header)
        return false;
    std::copy_n(reinterpret_cast<const char *>(bytes) + 4, 4, box->type);
    box->begin = *at + header;
    box->end = size <= static_cast<uint64_t>(end - *at) ? *at + static_cast<int64_t>(size) : end;
    *at = box->end;
    return true;
}

std::optional<Mp4Box> Mp4BoxFind(Mp4Walk *walk, Mp4Box parent, std::initializer_list<std::string_view> way) {
    for (const std::string_view type : way) {
        Mp4Box child;
        int64_t at = parent.begin;
        do {
            if (!Mp4BoxTake(walk, &at, parent.end, &child))
                return std::nullopt;
        } while (!child.Is(type));
        parent = child;
    }
    return parent;
}

SoundBytes Mp4BoxRead(Mp4Walk *walk, const Mp4Box &box, int64_t size) {
    return SoundBytesRead(walk->input, box.begin, std::min(size, box.end - box.begin));
}

bool Mp4TimesTake(Cursor *cursor) {
    const bool is_long = TakeBig(cursor, 1) == 1;
    Take(cursor, is_long ? 19 : 11);
    return is_long;
}

Mp4MemoryBox Mp4MemoryBoxTake(Cursor *cursor) {
    const uint64_t size = TakeBig(cursor, 4);
    const Bytes type = Take(cursor, 4);
    if (cursor->cut || size < static_cast<uint64_t>(kHeaderSize))
        return {};
    return {Characters(type), Take(cursor, static_cast<size_t>(size) - static_cast<size_t>(kHeaderSize))};
}
