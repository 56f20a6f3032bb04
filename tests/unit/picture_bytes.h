// SPDX-License-Identifier: GPL-2.0-or-later
//
// Pictures built byte by byte, and the size that the readers find in them.
#pragma once

#include "platform/bytes.h"
#include "platform/image/image_formats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace picture_bytes {

using namespace std::string_literals;

using namespace std::string_literals;

struct Size {
    int width;
    int height;
    bool operator==(const Size &) const = default;
};

inline std::ostream &operator<<(std::ostream &out, const Size &size) {
    return out << size.width << "x" << size.height;
}

inline constexpr Size kUntouched = {-7, -7};

// What readers asked of a picture that lies in memory.
struct Memory {
    const std::string &bytes;
    int reads = 0;
};

inline size_t ReadMemory(void *context, uint64_t offset, uint8_t *out, size_t size) {
    auto *memory = static_cast<Memory *>(context);
    ++memory->reads;
    if (offset >= memory->bytes.size())
        return 0;
    return memory->bytes.copy(reinterpret_cast<char *>(out), size, static_cast<size_t>(offset));
}

// The size of a picture, or kUntouched when there is none.
inline Size SizeOf(const std::string &bytes, int *reads = nullptr) {
    Memory memory = {bytes};
    Size size = kUntouched;
    const int result = PictureSizeRead({ReadMemory, &memory}, &size.width, &size.height);
    EXPECT_EQ(result, size == kUntouched ? -1 : 0);
    if (reads != nullptr)
        *reads = memory.reads;
    return size;
}

inline std::string Number(uint64_t number, size_t size, ByteOrder order) {
    std::string bytes;
    for (size_t i = 0; i < size; ++i, number >>= 8)
        bytes.push_back(static_cast<char>(number & 0xFF));
    if (order == ByteOrder::kBig)
        std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

inline std::string Big(uint64_t number, size_t size) {
    return Number(number, size, ByteOrder::kBig);
}
inline std::string Little(uint64_t number, size_t size) {
    return Number(number, size, ByteOrder::kLittle);
}

// Every proper prefix of a picture whose size stands in its first `needed` bytes has none.
inline void ExpectNeeds(const std::string &picture, size_t needed) {
    EXPECT_NE(SizeOf(picture.substr(0, needed)), kUntouched);
    for (size_t length = 0; length < needed; ++length)
        EXPECT_EQ(SizeOf(picture.substr(0, length)), kUntouched) << length;
}

// --- JPEG

inline constexpr char kStart[] = "\xFF\xD8";

inline std::string Segment(int marker, const std::string &content) {
    return "\xFF"s + static_cast<char>(marker) + Big(content.size() + 2, 2) + content;
}

inline std::string Frame(int marker, uint64_t width, uint64_t height, uint8_t components = 3) {
    return Segment(marker, "\x08" + Big(height, 2) + Big(width, 2) + static_cast<char>(components) +
                               std::string(size_t{components} * 3, '\x11'));
}

inline const std::string kScan = Segment(0xDA, "\x01\x01\0\0\x3F\0"s) + "data\xFF\xD9";

// --- TIFF

struct Tiff {
    ByteOrder order = ByteOrder::kLittle;
    bool big = false;

    std::string Number(uint64_t number, size_t size) const {
        return picture_bytes::Number(number, size, order);
    }
    size_t OffsetSize() const { return big ? 8 : 4; }
    uint64_t HeaderSize() const { return big ? 16 : 8; }

    std::string Header(uint64_t directory) const {
        return (order == ByteOrder::kLittle ? "II" : "MM") + Number(big ? 43 : 42, 2) +
               (big ? Number(8, 2) + Number(0, 2) : "") + Number(directory, OffsetSize());
    }

    std::string Entry(uint64_t tag, uint64_t type, uint64_t value, uint64_t count = 1) const {
        const size_t width = type == 3 ? 2 : type == 16 ? 8 : 4;
        std::string field = Number(value, width);
        field.resize(OffsetSize(), '\0');
        return Number(tag, 2) + Number(type, 2) + Number(count, OffsetSize()) + field;
    }

    std::string Directory(const std::vector<std::string> &entries) const {
        std::string bytes = Number(entries.size(), big ? 8 : 2);
        for (const std::string &entry : entries)
            bytes += entry;
        return bytes + Number(0, OffsetSize());
    }

    std::string File(const std::vector<std::string> &entries) const {
        return Header(HeaderSize()) + Directory(entries);
    }
};

} // namespace picture_bytes
