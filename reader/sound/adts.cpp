// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/adts.h"

#include "reader/sound/end_tags.h"
#include "reader/sound/frame_walk.h"
#include "reader/syntax/adts_header.h"

void AdtsRead(SoundFile *file) {
    const SoundBounds bounds = SoundBoundsFind(file->input);
    AdtsHeader first;
    const FrameTotals totals = FramesAdd(file->input, bounds.begin, bounds.end, [&](Bytes bytes) {
        const AdtsHeader header = AdtsHeaderParse(bytes);
        if (first.sample_rate == 0)
            first = header;
        return header.sample_rate == first.sample_rate ? FrameStep{header.bytes, header.samples}
                                                       : FrameStep{};
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
