// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/mpeg4_audio.h"

#include "reader/syntax/aac_rates.h"

namespace {

enum ObjectType : uint32_t { kLowComplexity = 2, kBandReplication = 5, kParametricStereo = 29 };

// What marks the extensions that older decoders do not see.
constexpr uint32_t kReplicationMark = 0x2B7;
constexpr uint32_t kStereoMark = 0x548;

struct Bits {
    Bytes bytes;
    size_t at = 0;
};

// Behind the end there are zeros.
uint32_t BitsTake(Bits *bits, size_t count) {
    uint32_t number = 0;
    for (; count > 0; --count, ++bits->at) {
        const size_t byte = bits->at / 8;
        number =
            number << 1 | (byte < bits->bytes.size() ? bits->bytes[byte] >> (7 - bits->at % 8) & 1U : 0U);
    }
    return number;
}

uint32_t ObjectTypeTake(Bits *bits) {
    const uint32_t type = BitsTake(bits, 5);
    return type == 31 ? 32 + BitsTake(bits, 6) : type;
}

uint32_t RateTake(Bits *bits) {
    const uint32_t index = BitsTake(bits, 4);
    return index == 15 ? BitsTake(bits, 24) : kAacSampleRates[index];
}

// The extensions behind an ordinary configuration.
void HiddenExtensions(Bits *bits, SoundStream *stream) {
    BitsTake(bits, 1); // frames of 960 samples
    if (BitsTake(bits, 1) != 0)
        BitsTake(bits, 14);
    BitsTake(bits, 1);
    if (BitsTake(bits, 11) != kReplicationMark || ObjectTypeTake(bits) != kBandReplication ||
        BitsTake(bits, 1) == 0)
        return;
    if (const uint32_t rate = RateTake(bits); rate != 0)
        stream->sample_rate = rate;
    if (BitsTake(bits, 11) == kStereoMark && BitsTake(bits, 1) != 0 && stream->channels == 1)
        stream->channels = 2;
}

} // namespace

void Mpeg4AudioConfig(Bytes config, SoundStream *stream) {
    Bits bits{config};
    const uint32_t type = ObjectTypeTake(&bits);
    uint32_t rate = RateTake(&bits);
    const uint32_t layout = BitsTake(&bits, 4);
    if (layout != 0)
        stream->channels = kAacChannels[layout];
    if (type == kBandReplication || type == kParametricStereo)
        rate = RateTake(&bits);
    if (type == kParametricStereo && stream->channels == 1)
        stream->channels = 2;
    if (rate != 0)
        stream->sample_rate = rate;
    if (type == kLowComplexity && layout != 0)
        HiddenExtensions(&bits, stream);
}
