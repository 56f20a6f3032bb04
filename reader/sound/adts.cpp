// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/adts.h"

#include "reader/sound/aac_rates.h"
#include "reader/sound/cursor.h"
#include "reader/sound/end_tags.h"
#include "reader/sound/frame_walk.h"

namespace {

constexpr size_t kAdtsHeaderSize = 7;
constexpr uint32_t kBlockSamples = 1024;

struct AdtsHeader {
    FrameStep step;
    uint32_t sample_rate = 0;
    uint32_t channels = 0;
};

AdtsHeader AdtsHeaderParse(Bytes bytes) {
    AdtsHeader header;
    if (bytes.size() < kAdtsHeaderSize || bytes[0] != 0xFF || (bytes[1] & 0xF6) != 0xF0)
        return header;
    const uint32_t sample_rate = kAacSampleRates[bytes[2] >> 2 & 0xF];
    const uint32_t size = (bytes[3] & 3U) << 11 | static_cast<uint32_t>(bytes[4]) << 3 | bytes[5] >> 5;
    if (sample_rate == 0 || size < kAdtsHeaderSize)
        return header;
    header.sample_rate = sample_rate;
    header.channels = kAacChannels[(bytes[2] & 1U) << 2 | bytes[3] >> 6];
    header.step = {size, ((bytes[6] & 3U) + 1) * kBlockSamples};
    return header;
}

} // namespace

void AdtsRead(SoundFile *file) {
    const SoundBounds bounds = SoundBoundsFind(file->input);
    AdtsHeader first;
    const FrameTotals totals = FramesAdd(file->input, bounds.begin, bounds.end, [&](Bytes bytes) {
        const AdtsHeader header = AdtsHeaderParse(bytes);
        if (first.sample_rate == 0)
            first = header;
        return header.sample_rate == first.sample_rate ? header.step : FrameStep{};
    });
    SoundStream stream;
    if (totals.frames != 0) {
        stream.sample_rate = first.sample_rate;
        stream.channels = first.channels;
        stream.duration = totals.samples / first.sample_rate;
        stream.bitrate = static_cast<double>(totals.bytes) * 8 / stream.duration;
        stream.codec = "aac";
        stream.container = "aac";
        StreamFactsAdd(stream, FactSource::own, file->facts);
    }
    EndTagsRead(file, bounds, EndTagOrder::kId3First);
}
