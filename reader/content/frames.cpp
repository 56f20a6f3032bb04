// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/frames.h"

#include <algorithm>
#include <iterator>

#include "platform/bytes.h"
#include "reader/syntax/adts_header.h"
#include "reader/syntax/mpeg_header.h"

namespace {

constexpr size_t kHeader = 8; // as much as any of these headers takes
constexpr int kFramesInRow = 3;

// Each returns a frame's bytes by its header, 0 when this is none (or, of MPEG audio, of free format).
size_t MpegLength(const uint8_t *bytes) {
    return MpegHeaderParse({bytes, kHeader}).bytes;
}

size_t AdtsLength(const uint8_t *bytes) {
    return AdtsHeaderParse({bytes, kHeader}).bytes;
}

// ISO/IEC 14496-3, 1.7.2: LOAS
size_t LoasLength(const uint8_t *bytes) {
    return bytes[0] == 0x56 && (bytes[1] & 0xE0) == 0xE0 ? 3 + (size_t{bytes[1] & 0x1FU} << 8 | bytes[2]) : 0;
}

// ETSI TS 102 366, 5.4.1 and E.1.2: AC-3 and E-AC-3
size_t Ac3Length(const uint8_t *bytes) {
    constexpr uint16_t kRates[] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                   192, 224, 256, 320, 384, 448, 512, 576, 640};
    constexpr unsigned kLastPlain = 10; // bit stream identifications above are E-AC-3
    constexpr unsigned kLast = 16;
    const unsigned identification = bytes[5] >> 3;
    if (bytes[0] != 0x0B || bytes[1] != 0x77 || identification > kLast)
        return 0;
    if (identification > kLastPlain)
        return ((size_t{bytes[2] & 7U} << 8 | bytes[3]) + 1) * 2;
    const unsigned frequency = bytes[4] >> 6;
    const size_t code = bytes[4] & 0x3F;
    if (frequency == 3 || code / 2 >= std::size(kRates))
        return 0;
    const size_t rate = kRates[code / 2];
    switch (frequency) {
    case 0:
        return rate * 4; // 48 kHz
    case 1:
        return (rate * 320 / 147 + code % 2) * 2; // 44.1 kHz
    default:
        return rate * 6; // 32 kHz
    }
}

// ETSI TS 103 190-2, annex C: AC-4
size_t Ac4Length(const uint8_t *bytes) {
    constexpr uint16_t kLong = 0xFFFF;
    if (bytes[0] != 0xAC || (bytes[1] != 0x40 && bytes[1] != 0x41))
        return 0;
    const size_t checksum = bytes[1] == 0x41 ? 2 : 0;
    const uint16_t length = BigEndian16(bytes + 2);
    return length == kLong ? 7 + BigEndian24(bytes + 4) + checksum : size_t{4} + length + checksum;
}

struct Coding {
    ContentFormat format;
    size_t (*length)(const uint8_t *header);
};

constexpr Coding kCodings[] = {
    {ContentFormat::mpeg_audio, MpegLength},  {ContentFormat::aac, AdtsLength},
    {ContentFormat::other_sound, LoasLength}, {ContentFormat::other_sound, Ac3Length},
    {ContentFormat::other_sound, Ac4Length},
};

// True when frames stand in a row from `position` on, or up to the file's end.
bool IsRow(ReaderInput *input, int64_t position, const Coding &coding) {
    for (int frame = 0; frame < kFramesInRow; ++frame) {
        uint8_t header[kHeader];
        if (frame > 0 && position == input->size)
            return true;
        if (!FileBytes(input, position, header, sizeof header))
            return false;
        const size_t length = coding.length(header);
        if (length == 0)
            return false;
        position += static_cast<int64_t>(length);
    }
    return true;
}

ContentFormat RowAt(ReaderInput *input, int64_t position) {
    for (const Coding &coding : kCodings) {
        if (IsRow(input, position, coding))
            return coding.format;
    }
    return ContentFormat::unknown;
}

} // namespace

ContentFormat FramesLook(const ContentHead &head) {
    return RowAt(head.input, head.begin);
}

ContentFormat FramesSearch(const ContentHead &head) {
    constexpr uint8_t kSync = 0xFF;
    uint32_t rows_left = kContentRowsMax;
    ContentHead part = head;
    while (part.size > 0 && part.begin - head.begin < kContentJunkMax) {
        const auto end = part.bytes.begin() + static_cast<ptrdiff_t>(part.size);
        for (auto byte = std::find(part.bytes.begin(), end, kSync); byte != end;
             byte = std::find(byte + 1, end, kSync)) {
            const ContentFormat format = RowAt(head.input, part.begin + (byte - part.bytes.begin()));
            if (format != ContentFormat::unknown)
                return format;
            if (--rows_left == 0)
                return ContentFormat::unknown;
        }
        part = HeadRead(head.input, part.begin + static_cast<int64_t>(part.size));
    }
    return ContentFormat::unknown;
}
