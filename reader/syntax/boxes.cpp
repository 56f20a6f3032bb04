// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/syntax/boxes.h"

namespace {

constexpr size_t kHeader = 8;      // size and type
constexpr size_t kLongHeader = 16; // and the size again, where it is a large one

struct BoxHeader {
    uint32_t type = 0;
    uint64_t bytes = 0;   // of the header; 0: here is no box
    uint64_t content = 0; // bytes, as it says
};

// `room`: bytes up to the end of what holds the box.
BoxHeader HeaderParse(Bytes bytes, uint64_t room) {
    Cursor cursor{bytes};
    uint64_t size = TakeBig(&cursor, 4);
    const auto type = static_cast<uint32_t>(TakeBig(&cursor, 4));
    if (size == 1)
        size = TakeBig(&cursor, 8);
    else if (size == 0)
        size = room;
    const uint64_t header = bytes.size() - cursor.rest.size();
    if (cursor.cut || header > room || size < header)
        return {};
    return {type, header, size - header};
}

} // namespace

bool BoxTake(BoxWalk *walk, int64_t *at, int64_t end, Box *box) {
    uint8_t bytes[kLongHeader];
    if (walk->boxes_left == 0 || end - *at < static_cast<int64_t>(kHeader))
        return false;
    --walk->boxes_left;
    const size_t got = InputRead(walk->input, *at, std::as_writable_bytes(std::span(bytes)));
    const BoxHeader header = HeaderParse({bytes, got}, static_cast<uint64_t>(end - *at));
    if (header.bytes == 0)
        return false;
    const int64_t begin = *at + static_cast<int64_t>(header.bytes);
    const auto content = std::min(header.content, static_cast<uint64_t>(end - begin));
    *box = {header.type, begin, begin + static_cast<int64_t>(content)};
    *at = box->end;
    return true;
}

bool MemoryBoxTake(Cursor *cursor, MemoryBox *box) {
    const BoxHeader header =
        HeaderParse(cursor->rest.first(std::min(kLongHeader, cursor->rest.size())), cursor->rest.size());
    if (header.bytes == 0)
        return false;
    Take(cursor, header.bytes);
    *box = {header.type, Take(cursor, header.content)};
    return true;
}
