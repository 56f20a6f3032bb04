// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/mp4v2/box_walk.h"

#include <algorithm>

#include "platform/bytes.h"

namespace {

constexpr uint64_t kHeaderBytes = 8;
constexpr uint64_t kLargeHeaderBytes = 16;

// Values of the 32-bit size that are no sizes.
constexpr uint32_t kSizeToFileEnd = 0;
constexpr uint32_t kSizeIsLarge = 1;

} // namespace

bool BoxNext(BoxFile *file, uint64_t *pos, uint64_t end, Box *box) {
    if (*pos > end || end - *pos < kHeaderBytes || file->boxes_left == 0)
        return false;
    --file->boxes_left;
    const uint8_t *header = BoxFileBytes(file, *pos, kHeaderBytes);
    if (header == nullptr)
        return false;
    const uint64_t rest = end - *pos;
    uint64_t header_bytes = kHeaderBytes;
    uint64_t size = BigEndian32(header);
    box->type = BigEndian32(header + 4);
    if (size == kSizeIsLarge) {
        header_bytes = kLargeHeaderBytes;
        header = rest < kLargeHeaderBytes ? nullptr : BoxFileBytes(file, *pos, kLargeHeaderBytes);
        if (header == nullptr)
            return false;
        size = BigEndian64(header + kHeaderBytes);
    } else if (size == kSizeToFileEnd) {
        size = rest;
    }
    if (size < header_bytes)
        return false;
    box->is_cut = size > rest;
    box->start = *pos + header_bytes;
    box->end = *pos + std::min(size, rest);
    *pos = box->end;
    return true;
}

Box BoxFind(BoxFile *file, uint64_t pos, uint64_t end, uint32_t type, uint32_t index) {
    Box box;
    while (BoxNext(file, &pos, end, &box)) {
        if (box.type == type && index-- == 0)
            return box;
    }
    return {};
}

const uint8_t *BoxPayload(BoxFile *file, const Box &box, size_t size) {
    return size <= box.PayloadSize() ? BoxFileBytes(file, box.start, size) : nullptr;
}
