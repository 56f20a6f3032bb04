// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/aac/aac_bits.h"

#include <iterator>

namespace {

constexpr uint32_t kSampleRates[] = {96000, 88200, 64000, 48000, 44100, 32000,
                                     24000, 22050, 16000, 12000, 11025, 8000};

// A list of single channels and channel pairs.
uint32_t ChannelsTake(AacBits *bits, uint32_t elements) {
    uint32_t channels = 0;
    for (; elements > 0; elements--) {
        channels += 1 + AacBitsTake(bits, 1);
        AacBitsTake(bits, 4); // tag
    }
    return channels;
}

void OptionalSkip(AacBits *bits, int size) {
    if (AacBitsTake(bits, 1) == 1)
        AacBitsTake(bits, size);
}

} // namespace

uint32_t AacBitsTake(AacBits *bits, int count) {
    uint32_t value = 0;
    for (; count > 0; count--, bits->position++) {
        const size_t byte = bits->position / 8;
        bits->overrun = bits->overrun || byte >= bits->bytes.size();
        const uint32_t rest = bits->overrun ? 0 : bits->bytes[byte];
        const uint32_t bit = rest >> (7 - bits->position % 8) & 1;
        value = value << 1 | bit;
    }
    return value;
}

uint32_t AacSampleRate(uint32_t index) {
    return index < std::size(kSampleRates) ? kSampleRates[index] : 0;
}

bool AacProgramTake(AacBits *bits, AacProgram *program) {
    AacBitsTake(bits, 4 + 2); // tag and profile
    program->sample_rate = AacSampleRate(AacBitsTake(bits, 4));
    const uint32_t front = AacBitsTake(bits, 4);
    const uint32_t side = AacBitsTake(bits, 4);
    const uint32_t back = AacBitsTake(bits, 4);
    const uint32_t low_frequency = AacBitsTake(bits, 2);
    const uint32_t data = AacBitsTake(bits, 3);
    const uint32_t coupling = AacBitsTake(bits, 4);
    OptionalSkip(bits, 4); // mono mix-down
    OptionalSkip(bits, 4); // stereo mix-down
    OptionalSkip(bits, 3); // matrix mix-down
    program->channels = ChannelsTake(bits, front + side + back) + low_frequency;
    for (uint32_t i = 0; i < low_frequency + data; i++)
        AacBitsTake(bits, 4);
    for (uint32_t i = 0; i < coupling; i++)
        AacBitsTake(bits, 1 + 4);
    return !bits->overrun;
}
