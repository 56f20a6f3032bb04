// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/base64.h"

namespace {

constexpr int kNone = -1;

constexpr int SixBitsOf(uint8_t letter) {
    if (letter >= 'A' && letter <= 'Z')
        return letter - 'A';
    if (letter >= 'a' && letter <= 'z')
        return letter - 'a' + 26;
    if (letter >= '0' && letter <= '9')
        return letter - '0' + 52;
    return letter == '+' ? 62 : letter == '/' ? 63 : kNone;
}

} // namespace

Bytes Base64Decode(std::span<uint8_t> text) {
    size_t written = 0;
    uint32_t bits = 0;
    int count = 0; // of bits that make no byte yet
    for (const uint8_t letter : text) {
        if (letter == '=')
            break;
        const int six = SixBitsOf(letter);
        if (six == kNone)
            return {};
        bits = bits << 6 | static_cast<uint32_t>(six);
        count += 6;
        if (count >= 8) {
            count -= 8;
            text[written++] = static_cast<uint8_t>(bits >> count);
        }
    }
    return text.first(written);
}
