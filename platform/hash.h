// SPDX-License-Identifier: GPL-2.0-or-later
//
// Hash of text by FNV-1a, a byte at a time. It is the same in every program and on every machine, and nobody's defence against
// texts that are made to have one hash.
#pragma once

#include <stdint.h>

#include <string_view>

inline constexpr uint64_t kHashStart = 0xcbf29ce484222325;

constexpr uint64_t HashByte(uint64_t hash, char byte) {
    constexpr uint64_t kPrime = 0x100000001b3;
    return (hash ^ static_cast<uint8_t>(byte)) * kPrime;
}

constexpr uint64_t HashText(std::string_view text, uint64_t hash = kHashStart) {
    for (const char byte : text)
        hash = HashByte(hash, byte);
    return hash;
}
