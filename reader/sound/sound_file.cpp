// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/sound_file.h"

#include <math.h>

namespace {

void PositiveAdd(FactName name, double number, FactSource source, FactList *facts) {
    if (number > 0)
        FactAddNumber(facts, name, source, number);
}

} // namespace

void StreamFactsAdd(const SoundStream &stream, FactSource source, FactList *facts) {
    PositiveAdd(FactName::duration, stream.duration, source, facts);
    PositiveAdd(FactName::audio_bitrate, round(stream.bitrate), source, facts);
    PositiveAdd(FactName::sample_rate, static_cast<double>(stream.sample_rate), source, facts);
    PositiveAdd(FactName::channels, static_cast<double>(stream.channels), source, facts);
    PositiveAdd(FactName::bits_per_sample, static_cast<double>(stream.bits_per_sample), source, facts);
    if (stream.codec != nullptr)
        FactAddText(facts, FactName::codec, source, stream.codec);
    if (stream.container != nullptr)
        FactAddText(facts, FactName::container, source, stream.container);
}
