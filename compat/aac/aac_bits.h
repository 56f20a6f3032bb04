// SPDX-License-Identifier: GPL-2.0-or-later
//
// Bit fields of AAC headers (ISO/IEC 13818-7).
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>

// Reads bits, the highest first. Behind the end all bits are 0 and `overrun` is set.
struct AacBits {
    std::span<const uint8_t> bytes;
    size_t position = 0; // in bits
    bool overrun = false;
};

// Takes up to 32 bits.
uint32_t AacBitsTake(AacBits *bits, int count);

struct AacProgram {
    uint32_t sample_rate; // 0 when the index is reserved
    uint32_t channels;
};

// Returns the samples per second of a sampling_frequency_index (8.1.1.2), 0 when it is reserved.
uint32_t AacSampleRate(uint32_t index);

// Takes a program_config_element (8.5) up to the lists of its channels. False when the bytes end before.
[[nodiscard]] bool AacProgramTake(AacBits *bits, AacProgram *program);
