// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/aiff/comm_chunk.h"

#include <string.h>

#include <cmath>
#include <limits>

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

uint64_t BigEndian(std::span<const uint8_t> bytes) {
    uint64_t value = 0;
    for (const uint8_t byte : bytes)
        value = value << 8 | byte;
    return value;
}

// IEEE 754 double extended: a sign bit, 15 bits of exponent, and a mantissa whose leading bit is written out,
// so that an unnormalised one needs no care.
double ExtendedToDouble(std::span<const uint8_t, 10> bytes) {
    constexpr int kExponentMask = 0x7FFF;
    constexpr int kExponentBias = 16383;
    constexpr int kMantissaFraction = 63;
    const int head = static_cast<int>(BigEndian(bytes.first<2>()));
    const int exponent = head & kExponentMask;
    const double size = exponent == kExponentMask
                            ? std::numeric_limits<double>::infinity()
                            : std::ldexp(static_cast<double>(BigEndian(bytes.last<8>())),
                                         exponent - kExponentBias - kMantissaFraction);
    return (head & ~kExponentMask) != 0 ? -size : size;
}

} // namespace

CommChunk CommChunkDecode(std::span<const uint8_t, kCommCompressedSize> bytes, bool compressed) {
    CommChunk comm = {};
    comm.channels = static_cast<int>(BigEndian(bytes.subspan<0, 2>()));
    comm.sample_frames = BigEndian(bytes.subspan<2, 4>());
    comm.bits = static_cast<int>(BigEndian(bytes.subspan<6, 2>()));
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
