// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/asf_packets.h"

#include "platform/limits.h"
#include "reader/syntax/mpeg_header.h"

namespace {

// A number whose length is told in two bits (ASF 1.20, 5.2).
uint64_t TakeTyped(Cursor *cursor, uint64_t type) {
    constexpr size_t kSizes[] = {0, 1, 2, 4};
    return TakeLittle(cursor, kSizes[type & 3]);
}

// Calls `look` for each payload of a packet, with its stream, its place in the object that it is a part of, and its bytes.
template <class Look>
void PayloadsLook(Bytes packet, Look look) {
    constexpr uint64_t kErrorCorrection = 0x80; // its size is in the lowest four bits
    constexpr uint64_t kTimes = 6;
    Cursor cursor{packet};
    uint64_t flags = TakeLittle(&cursor, 1);
    if ((flags & kErrorCorrection) != 0) {
        Take(&cursor, flags & 15);
        flags = TakeLittle(&cursor, 1);
    }
    const uint64_t properties = TakeLittle(&cursor, 1);
    TakeTyped(&cursor, flags >> 5); // the packet's length
    TakeTyped(&cursor, flags >> 1); // its number
    const uint64_t padding = TakeTyped(&cursor, flags >> 3);
    Take(&cursor, kTimes);
    const bool several = (flags & 1) != 0;
    const uint64_t payloads = several ? TakeLittle(&cursor, 1) : 1; // with the type of their lengths
    for (uint64_t i = 0; i < (payloads & 63) && !cursor.cut; ++i) {
        const uint64_t stream = TakeLittle(&cursor, 1) & 127;
        TakeTyped(&cursor, properties >> 4); // the object's number
        const uint64_t place = TakeTyped(&cursor, properties >> 2);
        Take(&cursor, TakeTyped(&cursor, properties));
        const uint64_t rest = cursor.rest.size() - std::min<uint64_t>(padding, cursor.rest.size());
        const uint64_t size = several ? TakeTyped(&cursor, payloads >> 6) : rest;
        look(stream, place, Take(&cursor, size));
    }
}

} // namespace

double AsfMpegRate(ReaderInput *input, const AsfPackets &packets, uint64_t stream) {
    if (packets.size == 0 || packets.size > kSoundAsfPacketMax)
        return 0;
    int frames = 0;
    uint32_t rate = 0;
    bool steady = true;
    const auto frames_count = [&](uint64_t of, uint64_t place, Bytes bytes) {
        if (of != stream || place != 0)
            return;
        for (MpegHeader header = MpegHeaderParse(bytes); header.bytes != 0; header = MpegHeaderParse(bytes)) {
            steady = steady && (frames == 0 || header.bitrate == rate);
            rate = header.bitrate;
            ++frames;
            bytes = bytes.subspan(std::min<size_t>(header.bytes, bytes.size()));
        }
    };
    int64_t at = packets.begin;
    for (int packet = 0; packet < kMpegSteadyFrames && frames < kMpegSteadyFrames && steady; ++packet) {
        const SoundBytes bytes = SoundBytesRead(input, at, static_cast<int64_t>(packets.size));
        PayloadsLook(bytes.View(), frames_count);
        at += static_cast<int64_t>(packets.size);
    }
    return steady ? rate : 0;
}
