// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/mpeg_stream.h"

#include <syslog.h>

#include <algorithm>
#include <limits>

namespace {

constexpr char kLogName[] = "metavideo.c";

constexpr int64_t kStartCodeBytes = 4;

// The fourth byte of a start code.
constexpr int kSequenceCode = 0xB3;
constexpr int kExtensionCode = 0xB5;
constexpr int kGroupCode = 0xB8;
constexpr int kFirstAudioCode = 0xC0;

constexpr int kSequenceExtensionId = 1;

constexpr double kBitRateUnit = 400.0;

// A packet nearer to the end of the file than this has no room for an audio frame.
constexpr int64_t kAudioTail = 15;

// Where the variable part of a packet's header begins: behind start code and packet length, in MPEG-2 also
// behind two bytes of flags and the length of the header's rest.
constexpr int64_t kPacketHead = 6;
constexpr int64_t kPesLengthAt = 8;
constexpr int64_t kPesHead = 9;

// Frames per second by code; the codes above are reserved.
constexpr double kFrameRates[] = {0, 24000.0 / 1001, 24, 25, 30000.0 / 1001, 30, 50, 60000.0 / 1001, 60};

double FrameRateOf(int code) {
    return code < static_cast<int>(std::size(kFrameRates)) ? kFrameRates[code] : 0;
}

double DurationOf(int64_t file_size, int bit_rate) {
    if (bit_rate == 0)
        return std::numeric_limits<double>::infinity();
    return static_cast<double>(file_size) * 8.0 / (bit_rate * kBitRateUnit);
}

int ReadBE16(MpegReader *reader, int64_t offset) {
    const int high = MpegReadByte(reader, offset);
    return high << 8 | MpegReadByte(reader, offset + 1);
}

bool IsSequenceHeader(MpegReader *reader, int64_t offset) {
    return MpegReadByte(reader, offset) == 0x00 && MpegReadByte(reader, offset + 1) == 0x00 &&
           MpegReadByte(reader, offset + 2) == 0x01 && MpegReadByte(reader, offset + 3) == kSequenceCode;
}

// Adds what a sequence extension (ISO/IEC 13818-2 section 6.2.2.3) whose payload begins at `at` has for the
// fields of the header: further bits above theirs. Of the two bits for the width only the upper one is taken.
void SequenceExtensionApply(MpegReader *reader, int64_t at, MpegSequenceInfo *info) {
    reader->version = 2;
    info->width |= (MpegReadByte(reader, at + 1) & 0x01) << 13;
    const int mixed = MpegReadByte(reader, at + 2);
    info->height |= (mixed & 0x60) << 7;
    info->bit_rate |= ((mixed & 0x1F) << 7 | MpegReadByte(reader, at + 3) >> 1) << 18;
    const int rate = MpegReadByte(reader, at + 5);
    info->frame_rate *= static_cast<double>((rate >> 5 & 0x03) + 1) / ((rate & 0x1F) + 1);
}

// Applies the sequence extensions between `offset` and the first group of pictures.
void ExtensionsApply(MpegReader *reader, int64_t offset, MpegSequenceInfo *info) {
    for (int64_t prefix = MpegFindPrefix(reader, offset); prefix >= 0;
         prefix = MpegFindPrefix(reader, prefix + 1)) {
        const int64_t payload = prefix + kStartCodeBytes;
        const int code = MpegReadByte(reader, payload - 1);
        if (code == kGroupCode)
            return;
        if (code == kExtensionCode && MpegReadByte(reader, payload) >> 4 == kSequenceExtensionId)
            SequenceExtensionApply(reader, payload, info);
    }
}

// The first offset at or after `pos` that holds no stuffing byte (all of which have the top bit set).
int64_t StuffingSkip(MpegReader *reader, int64_t pos) {
    for (;;) {
        const std::span<const uint8_t> held = Mp3Window(&reader->bytes, pos, 1);
        const auto other = std::find_if(held.begin(), held.end(), [](uint8_t b) { return b < 0x80; });
        pos += other - held.begin();
        if (held.empty() || other != held.end())
            return pos;
    }
}

// The offset of the data of the packet that begins at `packet`.
int64_t PacketPayload(MpegReader *reader, int64_t packet) {
    if (reader->version != 1)
        return packet + kPesHead + MpegReadByte(reader, packet + kPesLengthAt);
    int64_t pos = StuffingSkip(reader, packet + kPacketHead);
    if (MpegReadByte(reader, pos) >> 6 == 0x1) // buffer size
        pos += 2;
    switch (MpegReadByte(reader, pos) >> 4) {
    case 0x2: // presentation time
        return pos + 5;
    case 0x3: // presentation and decoding time
        return pos + 10;
    default: // a byte that says that there is none
        return pos + 1;
    }
}

// The header that the packet begins with is trusted; any other must be followed by a second one.
void AudioFind(MpegReader *reader, int64_t packet, MpegHeaderInfo *audio) {
    int64_t pos = PacketPayload(reader, packet);
    const ByteSource source = Mp3Source(&reader->bytes);
    if (MpegHeaderFind(&source, &pos, audio) == 0)
        MpegFrameSearch(&source, &pos, audio, FrameGap::zeros);
}

} // namespace

int MpegParseSequenceHeader(MpegReader *reader, int64_t offset, MpegSequenceInfo *info) {
    if (!IsSequenceHeader(reader, offset))
        return -1;
    const int64_t at = offset + kStartCodeBytes;
    info->spare = 0;
    info->width = ReadBE16(reader, at) >> 4;
    info->height = ReadBE16(reader, at + 1) & 0x0FFF;
    const int codes = MpegReadByte(reader, at + 3);
    info->frame_rate = FrameRateOf(codes & 0x0F);
    info->aspect_ratio = static_cast<uint8_t>(codes >> 4);
    if (info->aspect_ratio == 0)
        syslog(LOG_ERR, "%s (%d) invalid aspect_ratio.", kLogName, __LINE__);
    info->bit_rate = ReadBE16(reader, at + 4) << 2 | MpegReadByte(reader, at + 6) >> 6;
    info->duration = DurationOf(reader->bytes.file_size, info->bit_rate);
    ExtensionsApply(reader, at + 4, info);
    return 0;
}

int MpegParseStream(MpegReader *reader, MpegSequenceInfo *info, MpegHeaderInfo *audio) {
    const int64_t header = MpegFindStartCode(reader, 0, kSequenceCode);
    if (header < 0) {
        syslog(LOG_ERR, "%s (%d) couldn't find any valid video.", kLogName, __LINE__);
        return -1;
    }
    if (MpegParseSequenceHeader(reader, header, info) != 0) {
        syslog(LOG_ERR, "%s (%d) failed to parse video.", kLogName, __LINE__);
        return -1;
    }
    const int64_t packet = MpegFindStartCode(reader, 0, kFirstAudioCode);
    if (packet >= 0 && packet <= reader->bytes.file_size - kAudioTail)
        AudioFind(reader, packet, audio);
    return 0;
}
