// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/boxes.h"

#include "platform/bytes.h"
#include "platform/limits.h"

std::vector<FileBox> FileBoxes(ReaderInput *input) {
    constexpr size_t kLongHeader = 16;
    std::vector<FileBox> boxes;
    int64_t position = 0;
    while (boxes.size() < kPhotoBoxesMax && position < input->size) {
        const auto left = static_cast<uint64_t>(input->size - position);
        uint8_t header[kLongHeader] = {};
        const size_t got = InputRead(input, position, std::as_writable_bytes(std::span(header)));
        const bool is_long = BigEndian32(header) == 1;
        const size_t header_size = is_long ? kLongHeader : kLongHeader / 2;
        uint64_t size = is_long ? BigEndian64(header + 8) : BigEndian32(header);
        if (size == 0 || size > left)
            size = left;
        if (got < header_size || size < header_size)
            break;
        const auto end = position + static_cast<int64_t>(size);
        boxes.push_back({BigEndian32(header + 4), position + static_cast<int64_t>(header_size), end});
        position = end;
    }
    return boxes;
}

std::vector<uint8_t> FilePart(ReaderInput *input, uint64_t offset, uint64_t size) {
    const auto end = static_cast<uint64_t>(input->size);
    if (size > kPhotoValueMax || offset > end || size > end - offset)
        return {};
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    if (InputRead(input, static_cast<int64_t>(offset), std::as_writable_bytes(std::span(bytes))) !=
        bytes.size())
        return {};
    return bytes;
}

std::vector<uint8_t> FileBoxRead(ReaderInput *input, const FileBox &box) {
    return FilePart(input, static_cast<uint64_t>(box.begin), static_cast<uint64_t>(box.end - box.begin));
}

Bytes CursorTake(BytesCursor *cursor, uint64_t size) {
    if (size > cursor->left.size()) {
        *cursor = {{}, true};
        return {};
    }
    const Bytes taken = cursor->left.first(static_cast<size_t>(size));
    cursor->left = cursor->left.subspan(static_cast<size_t>(size));
    return taken;
}

uint64_t CursorNumber(BytesCursor *cursor, size_t size) {
    const Bytes bytes = CursorTake(cursor, size);
    return BytesNumber(bytes.data(), bytes.size(), ByteOrder::kBig);
}

bool CursorBox(BytesCursor *cursor, MemoryBox *box) {
    if (cursor->left.empty())
        return false;
    const size_t whole = cursor->left.size();
    uint64_t size = CursorNumber(cursor, 4);
    box->type = static_cast<uint32_t>(CursorNumber(cursor, 4));
    if (size == 1)
        size = CursorNumber(cursor, 8);
    else if (size == 0)
        size = whole;
    const size_t header = whole - cursor->left.size();
    if (cursor->failed || size < header)
        return false;
    box->bytes = CursorTake(cursor, size - header);
    return !cursor->failed;
}
