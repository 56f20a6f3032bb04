// SPDX-License-Identifier: GPL-2.0-or-later
//
// Raw AAC files, byte by byte (ISO/IEC 13818-7).
#pragma once

#include <stdint.h>

#include <initializer_list>
#include <string>
#include <utility>

// Bit fields as text of 0 and 1, packed into bytes.
inline std::string AacFields(std::initializer_list<std::pair<uint32_t, int>> fields) {
    std::string bits;
    for (const auto &[value, size] : fields) {
        for (int i = size - 1; i >= 0; i--)
            bits += (value >> i & 1) != 0 ? '1' : '0';
    }
    bits.resize((bits.size() + 7) / 8 * 8, '0');
    std::string bytes;
    for (size_t i = 0; i < bits.size(); i += 8)
        bytes += static_cast<char>(std::stoi(bits.substr(i, 8), nullptr, 2));
    return bytes;
}

// A frame of 100 bytes: 44100 Hz is index 4.
inline std::string AdtsFrame(uint32_t configuration = 2, uint32_t rate_index = 4, uint32_t blocks = 1,
                             uint32_t length = 100, bool has_checksum = false) {
    std::string frame = AacFields({{0xFFF, 12},
                                   {0, 1},
                                   {0, 2},
                                   {has_checksum ? 0U : 1U, 1},
                                   {1, 2},
                                   {rate_index, 4},
                                   {0, 1},
                                   {configuration, 3},
                                   {0, 4},
                                   {length, 13},
                                   {0x7FF, 11},
                                   {blocks - 1, 2}});
    frame.resize(length, '\0');
    return frame;
}

// A frame's first element: a program of a pair in front, one channel behind and a low-frequency one.
inline std::string ProgramElement() {
    return AacFields({{5, 3},
                      {0, 4},
                      {1, 2},
                      {4, 4},
                      {1, 4},
                      {0, 4},
                      {1, 4},
                      {1, 2},
                      {0, 3},
                      {0, 4},
                      {0, 3},
                      {1, 1},
                      {0, 4},
                      {0, 1},
                      {0, 4},
                      {0, 4}});
}

inline std::string Repeated(const std::string &text, int count) {
    std::string all;
    for (int i = 0; i < count; i++)
        all += text;
    return all;
}

// No copyright id, constant rate: the program begins 4 + 1+1+1+1+23+4+20 bits behind the mark.
inline std::string AdifHeader(uint32_t bitrate, uint32_t rate_index = 4) {
    return "ADIF" + AacFields({{0, 4},
                               {bitrate, 23},
                               {0, 4},
                               {0, 20},
                               {0, 4},
                               {1, 2},
                               {rate_index, 4},
                               {1, 4},
                               {0, 4},
                               {0, 4},
                               {0, 2},
                               {0, 3},
                               {0, 4},
                               {0, 3},
                               {1, 1},
                               {0, 4}});
}
