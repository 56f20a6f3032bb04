// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/mp4v2/sample_sizes.h"

#include <algorithm>
#include <span>

#include "platform/bytes.h"

namespace {

// Both tables: version and flags, then the size of all samples or of the fields, then the number of samples.
constexpr size_t kTableHeaderBytes = 12;
constexpr size_t kSizeAt = 4;
constexpr size_t kFieldBitsAt = 7;
constexpr size_t kCountAt = 8;

constexpr unsigned kNibbleBits = 4;

unsigned LowNibble(uint8_t pair) {
    return pair & 0x0FU;
}

// No entry is cut in two by the end of a block.
static_assert(kMp4Window % sizeof(uint32_t) == 0);

uint64_t SumOf(std::span<const uint8_t> entries, unsigned bits) {
    uint64_t sum = 0;
    switch (bits) {
    case 4:
        for (const uint8_t pair : entries)
            sum += static_cast<unsigned>(pair >> kNibbleBits) + LowNibble(pair);
        break;
    case 8:
        for (const uint8_t size : entries)
            sum += size;
        break;
    case 16:
        for (size_t i = 0; i < entries.size(); i += 2)
            sum += BigEndian16(&entries[i]);
        break;
    default:
        for (size_t i = 0; i < entries.size(); i += 4)
            sum += BigEndian32(&entries[i]);
        break;
    }
    return sum;
}

uint64_t EntriesSum(BoxFile *file, const Box &table, uint32_t count, unsigned bits) {
    constexpr unsigned kByteBits = 8;
    const uint64_t length = (uint64_t{count} * bits + kByteBits - 1) / kByteBits;
    if (count > kMp4SamplesMax || length > table.PayloadSize() - kTableHeaderBytes)
        return 0;
    uint64_t sum = 0;
    uint64_t pos = table.start + kTableHeaderBytes;
    const uint64_t end = pos + length;
    uint8_t last = 0;
    while (pos < end) {
        const auto size = static_cast<size_t>(std::min<uint64_t>(kMp4Window, end - pos));
        const uint8_t *block = BoxFileBytes(file, pos, size);
        if (block == nullptr)
            return 0;
        sum += SumOf({block, size}, bits);
        last = block[size - 1];
        pos += size;
    }
    // The last of an odd number of nibbles has a neighbour that is none.
    if (bits == kNibbleBits && count % 2 != 0)
        sum -= LowNibble(last);
    return sum;
}

} // namespace

uint64_t SampleSizesSum(BoxFile *file, const Mp4Track &track) {
    const uint8_t *header = track.sizes.Exists() ? BoxPayload(file, track.sizes, kTableHeaderBytes) : nullptr;
    if (header == nullptr)
        return 0;
    const uint32_t count = BigEndian32(header + kCountAt);
    if (track.sizes.type == BoxType("stz2")) {
        const uint8_t bits = header[kFieldBitsAt];
        return bits == 4 || bits == 8 || bits == 16 ? EntriesSum(file, track.sizes, count, bits) : 0;
    }
    const uint32_t size_of_all = BigEndian32(header + kSizeAt);
    if (size_of_all == 0)
        return EntriesSum(file, track.sizes, count, 32);
    // QuickTime counts each sample of PCM sound as 1 byte, whatever its width; newer writers give the true
    // size.
    const bool is_nominal = size_of_all == 1 && track.pcm_frame_bytes > 0;
    return uint64_t{count} * (is_nominal ? track.pcm_frame_bytes : size_of_all);
}
