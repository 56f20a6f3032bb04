// SPDX-License-Identifier: GPL-2.0-or-later
//
// Hash of text by FNV-1a, a byte at a time. It is the same in every program and on every machine, and nobody's defence against
// texts that are made to have one hash. That of a block is the same on machines of one byte order.
#pragma once

#include <stdint.h>
#include <string.h>

#include <string_view>

inline constexpr uint64_t kHashStart = 0xcbf29ce484222325;
inline constexpr uint64_t kHashPrime = 0x100000001b3;

constexpr uint64_t HashByte(uint64_t hash, char byte) {
    return (hash ^ static_cast<uint8_t>(byte)) * kHashPrime;
}

constexpr uint64_t HashText(std::string_view text, uint64_t hash = kHashStart) {
    for (const char byte : text)
        hash = HashByte(hash, byte);
    return hash;
}

// Of many bytes, eight at a time. A multiplication carries nothing downwards, so that the upper half is folded in.
inline uint64_t HashBlock(std::string_view block, uint64_t hash) {
    uint64_t word;
    for (; block.size() >= sizeof word; block.remove_prefix(sizeof word)) {
        memcpy(&word, block.data(), sizeof word);
        hash = (hash ^ word) * kHashPrime;
        hash ^= hash >> 32;
    }
    return HashText(block, hash);
}
