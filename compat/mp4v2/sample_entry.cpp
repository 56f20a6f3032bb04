// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/mp4v2/sample_entry.h"

#include <limits.h>

#include <algorithm>
#include <array>
#include <span>

#include "platform/bytes.h"
#include "platform/limits.h"

namespace {

constexpr uint64_t kDescriptionHeaderBytes = 8; // version, flags, number of entries

// Payload of an entry: 8 bytes common to all, then these places.
constexpr size_t kVideoWidthAt = 24;
constexpr size_t kVideoHeightAt = 26;
constexpr size_t kVideoSizeBytes = 28; // what has to be there
constexpr size_t kVideoBytes = 78;     // behind this the entry's boxes begin

constexpr size_t kSoundVersionAt = 8;
constexpr size_t kSoundChannelsAt = 16;
constexpr size_t kSoundBitsAt = 18;
constexpr size_t kSoundFieldBytes = 20;
constexpr size_t kSoundBytes = 28;
// QuickTime versions 1 and 2 append fields; in the second the old channel count is a constant.
constexpr size_t kSoundBytes1 = 44;
constexpr size_t kSoundBytes2 = 64;
constexpr size_t kSound2ChannelsAt = 40;
constexpr size_t kSound2BitsAt = 48;

// Plain PCM, the sample tables of which may count single samples as 1 byte each.
constexpr std::array kPcmTypes = {BoxType("twos"), BoxType("sowt"), BoxType("raw "), BoxType("in24"),
                                  BoxType("in32"), BoxType("fl32"), BoxType("fl64"), BoxType("lpcm")};
constexpr uint64_t kByteBits = 8;

// --- Elementary stream descriptor ---------------------------------------------------------------------------

constexpr uint8_t kStreamDescriptor = 0x03;
constexpr uint8_t kDecoderConfig = 0x04;
constexpr size_t kLengthBytesMax = 4; // 7 bits each
constexpr uint8_t kMoreLength = 0x80;

constexpr uint8_t kDependsOnStream = 0x80;
constexpr uint8_t kHasUrl = 0x40;
constexpr uint8_t kHasClock = 0x20;

constexpr size_t kObjectTypeAt = 0;
constexpr size_t kAverageBitRateAt = 9;
constexpr size_t kDecoderConfigBytes = 13;

using Bytes = std::span<const uint8_t>;

bool Skip(Bytes *rest, size_t count) {
    if (count > rest->size())
        return false;
    *rest = rest->subspan(count);
    return true;
}

// Takes the head of a descriptor off *rest. The body may reach beyond what was read: its fields are checked
// one by one.
bool TakeDescriptorHead(Bytes *rest, uint8_t tag) {
    if (rest->empty() || rest->front() != tag || !Skip(rest, 1))
        return false;
    for (size_t i = 0; i < kLengthBytesMax && !rest->empty(); ++i) {
        const uint8_t byte = rest->front();
        static_cast<void>(Skip(rest, 1));
        if ((byte & kMoreLength) == 0)
            return true;
    }
    return false;
}

bool SkipStreamFields(Bytes *rest) {
    if (rest->size() < 3)
        return false;
    const uint8_t flags = (*rest)[2];
    if (!Skip(rest, 3) || ((flags & kDependsOnStream) != 0 && !Skip(rest, 2)))
        return false;
    if ((flags & kHasUrl) != 0 && (rest->empty() || !Skip(rest, size_t{1} + rest->front())))
        return false;
    return (flags & kHasClock) == 0 || Skip(rest, 2);
}

void StreamDescriptorRead(BoxFile *file, const Box &box, Mp4Track *track) {
    const auto size = static_cast<size_t>(std::min(box.PayloadSize(), kMp4DescriptorPrefix));
    const uint8_t *bytes = BoxPayload(file, box, size);
    if (bytes == nullptr)
        return;
    Bytes rest(bytes, size);
    if (!Skip(&rest, kFullBoxBytes) || !TakeDescriptorHead(&rest, kStreamDescriptor) ||
        !SkipStreamFields(&rest) || !TakeDescriptorHead(&rest, kDecoderConfig) ||
        rest.size() < kDecoderConfigBytes)
        return;
    track->object_type = rest[kObjectTypeAt];
    track->average_bit_rate = BigEndian32(rest.data() + kAverageBitRateAt);
}

uint64_t BehindFields(const Box &entry, uint64_t fixed) {
    return entry.start + std::min(fixed, entry.PayloadSize());
}

// Returns where the entry's boxes begin, at most at its end.
uint64_t SoundRead(BoxFile *file, const Box &entry, bool is_quicktime, Mp4Track *track) {
    const uint8_t *bytes = BoxPayload(file, entry, kSoundFieldBytes);
    if (bytes == nullptr)
        return entry.end;
    // Elsewhere a version 1 has nothing appended.
    const uint16_t version = is_quicktime ? BigEndian16(bytes + kSoundVersionAt) : uint16_t{0};
    size_t fixed = version == 1 ? kSoundBytes1 : kSoundBytes;
    uint32_t channels = BigEndian16(bytes + kSoundChannelsAt);
    uint32_t bits = BigEndian16(bytes + kSoundBitsAt);
    if (version == 2) {
        fixed = kSoundBytes2;
        bytes = BoxPayload(file, entry, fixed);
        if (bytes == nullptr)
            return entry.end;
        channels = BigEndian32(bytes + kSound2ChannelsAt);
        bits = BigEndian32(bytes + kSound2BitsAt);
    }
    // No layout of loudspeakers comes near the 16 bits that the field once had.
    if (channels > UINT16_MAX)
        return entry.end;
    track->channels = static_cast<int>(channels);
    if (std::find(kPcmTypes.begin(), kPcmTypes.end(), entry.type) != kPcmTypes.end())
        track->pcm_frame_bytes =
            static_cast<uint32_t>(std::min<uint64_t>(channels * uint64_t{bits} / kByteBits, UINT32_MAX));
    return BehindFields(entry, fixed);
}

uint64_t VideoRead(BoxFile *file, const Box &entry, Mp4Track *track) {
    const uint8_t *bytes = BoxPayload(file, entry, kVideoSizeBytes);
    if (bytes == nullptr)
        return entry.end;
    const uint16_t width = BigEndian16(bytes + kVideoWidthAt);
    const uint16_t height = BigEndian16(bytes + kVideoHeightAt);
    if (width != 0 && height != 0) {
        track->width = width;
        track->height = height;
    }
    return BehindFields(entry, kVideoBytes);
}

} // namespace

void SampleEntryRead(BoxFile *file, const Box &description, Mp4Track *track) {
    const uint8_t *header = BoxPayload(file, description, kDescriptionHeaderBytes);
    if (header == nullptr)
        return;
    const bool is_quicktime = *header == 0; // the description's version
    Box entry;
    uint64_t pos = description.start + kDescriptionHeaderBytes;
    if (!BoxNext(file, &pos, description.end, &entry))
        return;
    uint64_t children = entry.end;
    if (Mp4TrackIs(*track, BoxType("soun")))
        children = SoundRead(file, entry, is_quicktime, track);
    else if (Mp4TrackIs(*track, BoxType("vide")))
        children = VideoRead(file, entry, track);
    const Box descriptor = BoxFind(file, children, entry.end, BoxType("esds"));
    if (descriptor.Exists())
        StreamDescriptorRead(file, descriptor, track);
}
