// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/aiff/comm_chunk.h"

#include <string.h>

#include <cmath>
#include <limits>

#include "platform/bytes.h"

namespace {

constexpr int kBitsPerByte = 8;

// Compression types whose decoded samples are not what the chunk's sample size says.
struct CompressedFormat {
    char type[5];
    int bits;
    int segment_size;
};

constexpr CompressedFormat kCompressedFormats[] = {
    {"ulaw", 14, 2}, {"ULAW", 14, 2}, {"alaw", 13, 2}, {"ALAW", 13, 2}, {"fl32", 32, 4}, {"FL32", 32, 4},
};

// IEEE 754 double extended: a sign bit, 15 bits of exponent, and a mantissa whose leading bit is written out,
// so that an unnormalised one needs no care.
double ExtendedToDouble(std::span<const uint8_t, 10> bytes) {
    constexpr int kExponentMask = 0x7FFF;
    constexpr int kExponentBias = 16383;
    constexpr int kMantissaFraction = 63;
    const int head = BigEndian16(bytes.data());
    const int exponent = head & kExponentMask;
    const double size = exponent == kExponentMask
                            ? std::numeric_limits<double>::infinity()
                            : std::ldexp(static_cast<double>(BigEndian64(bytes.data() + 2)),
                                         exponent - kExponentBias - kMantissaFraction);
    return (head & ~kExponentMask) != 0 ? -size : size;
}

} // namespace

CommChunk CommChunkDecode(std::span<const uint8_t, kCommCompressedSize> bytes, bool compressed) {
    CommChunk comm = {};
    comm.channels = BigEndian16(&bytes[0]);
    comm.sample_frames = BigEndian32(&bytes[2]);
    comm.bits = BigEndian16(&bytes[6]);
    comm.segment_size = (comm.bits + kBitsPerByte - 1) / kBitsPerByte;
    comm.rate = ExtendedToDouble(bytes.subspan<8, 10>());
    if (!compressed)
        return comm;
    for (const CompressedFormat &format : kCompressedFormats) {
        if (memcmp(&bytes[kCommSize], format.type, 4) == 0) {
            comm.bits = format.bits;
            comm.segment_size = format.segment_size;
        }
    }
    return comm;
}
