// SPDX-License-Identifier: GPL-2.0-or-later
//
// Unsigned numbers as files hold them, put together byte by byte: neither the machine's order nor the place of the
// bytes in memory counts.
#pragma once

#include <stddef.h>
#include <stdint.h>

enum class ByteOrder { kBig, kLittle };

// Returns the number in `size` bytes, at most 8.
[[nodiscard]] constexpr uint64_t BytesNumber(const uint8_t *bytes, size_t size, ByteOrder order) {
    uint64_t number = 0;
    for (size_t i = 0; i < size; ++i)
        number = number << 8 | bytes[order == ByteOrder::kBig ? i : size - 1 - i];
    return number;
}

// Writes the number into `size` bytes, as many of its lower ones as that are.
constexpr void BytesNumberPut(uint8_t *bytes, size_t size, uint64_t number, ByteOrder order) {
    for (size_t i = 0; i < size; ++i, number >>= 8)
        bytes[order == ByteOrder::kLittle ? i : size - 1 - i] = static_cast<uint8_t>(number);
}

[[nodiscard]] constexpr uint16_t BigEndian16(const uint8_t *bytes) {
    return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
}

[[nodiscard]] constexpr uint32_t BigEndian24(const uint8_t *bytes) {
    return uint32_t{bytes[0]} << 16 | BigEndian16(bytes + 1);
}

[[nodiscard]] constexpr uint32_t BigEndian32(const uint8_t *bytes) {
    return uint32_t{BigEndian16(bytes)} << 16 | BigEndian16(bytes + 2);
}

[[nodiscard]] constexpr uint64_t BigEndian64(const uint8_t *bytes) {
    return uint64_t{BigEndian32(bytes)} << 32 | BigEndian32(bytes + 4);
}

[[nodiscard]] constexpr uint16_t LittleEndian16(const uint8_t *bytes) {
    return static_cast<uint16_t>(bytes[1] << 8 | bytes[0]);
}

// Returns the number in four bytes of which the lower seven bits count, the highest first (id3.org 2.4.0,
// section 6.2).
[[nodiscard]] constexpr uint32_t Syncsafe32(const uint8_t *bytes) {
    uint32_t number = 0;
    for (size_t i = 0; i < 4; ++i)
        number = number << 7 | (bytes[i] & 0x7FU);
    return number;
}
