// SPDX-License-Identifier: GPL-2.0-or-later
//
// JPEG pictures with EXIF data, built byte by byte.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

namespace exif_bytes {

enum Type : int { kAscii = 2, kShort = 3, kLong = 4, kRational = 5, kSignedLong = 9 };

struct Entry {
    int tag;
    int type;
    uint32_t count;
    std::string data; // in the order of `Little`
};

inline std::string Little(uint64_t number, size_t size) {
    std::string bytes;
    for (size_t i = 0; i < size; ++i, number >>= 8)
        bytes.push_back(static_cast<char>(number & 0xFF));
    return bytes;
}

inline Entry Text(int tag, const std::string &text) {
    return {tag, kAscii, static_cast<uint32_t>(text.size() + 1), text + '\0'};
}
inline Entry Short(int tag, unsigned number) {
    return {tag, kShort, 1, Little(number, 2)};
}
inline Entry Long(int tag, uint32_t number) {
    return {tag, kLong, 1, Little(number, 4)};
}
inline Entry Rational(int tag, uint32_t above, uint32_t below) {
    return {tag, kRational, 1, Little(above, 4) + Little(below, 4)};
}

// A directory that stands at `at`, its long values behind it, and the offset of the next directory.
inline std::string Directory(const std::vector<Entry> &entries, size_t at, bool has_next) {
    std::string bytes = Little(entries.size(), 2);
    std::string values;
    const size_t values_at = at + 2 + entries.size() * 12 + 4;
    for (const Entry &entry : entries) {
        bytes += Little(entry.tag, 2) + Little(entry.type, 2) + Little(entry.count, 4);
        if (entry.data.size() <= 4) {
            bytes += entry.data + std::string(4 - entry.data.size(), '\0');
        } else {
            bytes += Little(values_at + values.size(), 4);
            values += entry.data;
        }
    }
    bytes += Little(has_next ? values_at + values.size() : 0, 4);
    return bytes + values;
}

// Directory 0 (with a pointer to the EXIF directory), directory 1 and the EXIF directory.
inline std::string Block(std::vector<Entry> first, const std::vector<Entry> &second,
                         const std::vector<Entry> &exif) {
    constexpr size_t kHeader = 8;
    constexpr int kExifPointer = 0x8769;
    const bool has_second = !second.empty();
    first.push_back(Long(kExifPointer, 0));
    const size_t second_at = kHeader + Directory(first, kHeader, has_second).size();
    const std::string behind = has_second ? Directory(second, second_at, false) : "";
    const size_t exif_at = second_at + behind.size();
    first.back() = Long(kExifPointer, static_cast<uint32_t>(exif_at));
    return std::string("II*\0\x08\0\0\0", kHeader) + Directory(first, kHeader, has_second) + behind +
           Directory(exif, exif_at, false);
}

inline std::string Big(unsigned number) {
    return {static_cast<char>(number >> 8), static_cast<char>(number & 0xFF)};
}

// A JPEG of the given size without a picture in it.
inline std::string PlainJpeg(unsigned width, unsigned height) {
    return "\xFF\xD8" + ("\xFF\xC0" + Big(17)) + "\x08" + Big(height) + Big(width) + '\x03' +
           std::string(9, '\x11') + "\xFF\xD9";
}

inline std::string Jpeg(const std::string &block, unsigned width, unsigned height) {
    const std::string content = std::string("Exif\0\0", 6) + block;
    return PlainJpeg(width, height)
        .insert(2, "\xFF\xE1" + Big(static_cast<unsigned>(content.size() + 2)) + content);
}

// A JPEG whose frame says nothing of its size, so that the EXIF data's word holds.
inline std::string JpegWithoutFrame(const std::string &block) {
    const std::string content = std::string("Exif\0\0", 6) + block;
    return "\xFF\xD8\xFF\xE1" + Big(static_cast<unsigned>(content.size() + 2)) + content + "\xFF\xD9";
}

} // namespace exif_bytes
