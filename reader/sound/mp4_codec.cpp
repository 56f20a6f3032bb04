// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/mp4_codec.h"

#include <bit>

#include "reader/sound/mp4_box.h"
#include "reader/sound/mpeg4_audio.h"

namespace {

using namespace std::string_view_literals;

struct Mp4Codec {
    std::string_view type; // of the sample entry
    const char *codec;
    uint8_t bits = 0; // of PCM
};

// By the sample entry's type. "mp4a" has its codec in a descriptor, and is AAC without one.
constexpr Mp4Codec kCodecs[] = {
    {"mp4a", "aac"},           {"alac", "alac"},          {"fLaC", "flac"},
    {"Opus", "opus"},          {"ac-3", "ac3"},           {"ec-3", "eac3"},
    {"ac-4", "ac4"},           {"samr", "amr_nb"},        {"sawb", "amr_wb"},
    {".mp3", "mp3"},           {"ms\0U"sv, "mp3"},        {"dtsc", "dts"},
    {"dtse", "dts"},           {"dtsh", "dts"},           {"dtsl", "dts"},
    {"mlpa", "truehd"},        {"sowt", "pcm_s16le", 16}, {"twos", "pcm_s16be", 16},
    {"in24", "pcm_s24be", 24}, {"in32", "pcm_s32be", 32}, {"fl32", "pcm_f32be", 32},
    {"fl64", "pcm_f64be", 64}, {"raw ", "pcm_u8", 8},     {"ulaw", "pcm_mulaw", 8},
    {"alaw", "pcm_alaw", 8},   {"ima4", "adpcm_ima_qt"},  {"agsm", "gsm"},
    {"QDM2", "qdm2"},          {"sqcp", "qcelp"},         {"sevc", "evrc"},
};

struct ObjectCodec {
    uint8_t object; // of the decoder's descriptor (ISO/IEC 14496-1, table 5)
    const char *codec;
};

constexpr ObjectCodec kObjectCodecs[] = {
    {0x40, "aac"}, {0x66, "aac"},  {0x67, "aac"}, {0x68, "aac"},  {0x69, "mp3"},    {0x6B, "mp3"},
    {0xA5, "ac3"}, {0xA6, "eac3"}, {0xA9, "dts"}, {0xAD, "opus"}, {0xDD, "vorbis"}, {0xE1, "qcelp"},
};

// A descriptor's size: seven bits a byte, as long as the eighth is set.
uint64_t DescriptorSizeTake(Cursor *cursor) {
    uint64_t size = 0;
    for (int i = 0; i < 4; ++i) {
        const uint64_t byte = TakeBig(cursor, 1);
        size = size << 7 | (byte & 0x7F);
        if ((byte & 0x80) == 0)
            break;
    }
    return size;
}

// ISO/IEC 14496-1, 7.2.6.5 to 7.2.6.7.
void ElementaryStream(Bytes content, SoundStream *stream) {
    Cursor cursor{content};
    Take(&cursor, 4);
    if (TakeBig(&cursor, 1) != 3)
        return;
    DescriptorSizeTake(&cursor);
    Take(&cursor, 2);
    const uint64_t flags = TakeBig(&cursor, 1);
    Take(&cursor, (flags & 0x80) != 0 ? 2 : 0);
    if ((flags & 0x40) != 0)
        Take(&cursor, static_cast<size_t>(TakeBig(&cursor, 1)));
    Take(&cursor, (flags & 0x20) != 0 ? 2 : 0);
    if (TakeBig(&cursor, 1) != 4)
        return;
    DescriptorSizeTake(&cursor);
    const auto object = static_cast<uint8_t>(TakeBig(&cursor, 1));
    Take(&cursor, 8);
    stream->bitrate = static_cast<double>(TakeBig(&cursor, 4));
    for (const ObjectCodec &known : kObjectCodecs) {
        if (known.object == object)
            stream->codec = known.codec;
    }
    if (stream->codec == std::string_view("aac") && TakeBig(&cursor, 1) == 5) {
        const uint64_t size = DescriptorSizeTake(&cursor);
        Mpeg4AudioConfig(Take(&cursor, static_cast<size_t>(size)), stream);
    }
}

void AlacCookie(Bytes content, SoundStream *stream) {
    Cursor cursor{content};
    Take(&cursor, 9);
    const uint64_t bits = TakeBig(&cursor, 1);
    Take(&cursor, 3);
    const uint64_t channels = TakeBig(&cursor, 1);
    Take(&cursor, 10);
    const uint64_t rate = TakeBig(&cursor, 4);
    if (cursor.cut)
        return;
    stream->bits_per_sample = bits;
    stream->channels = channels;
    stream->sample_rate = rate;
}

void FlacInfo(Bytes content, SoundStream *stream) {
    Cursor cursor{content};
    Take(&cursor, 8 + 10);
    const uint64_t numbers = TakeBig(&cursor, 4);
    if (cursor.cut)
        return;
    stream->sample_rate = numbers >> 12;
    stream->channels = (numbers >> 9 & 7) + 1;
    stream->bits_per_sample = (numbers >> 4 & 31) + 1;
}

void OpusHead(Bytes content, SoundStream *stream) {
    if (content.size() >= 2)
        stream->channels = content[1];
    stream->sample_rate = 48000;
}

// Dolby's annexes on MP4: rate, mode and the channel of low frequencies. `at`: the bit where the mode begins.
void DolbyMode(Bytes content, size_t rate_at, size_t mode_at, SoundStream *stream) {
    constexpr uint8_t kChannels[8] = {2, 1, 2, 3, 3, 4, 4, 5};
    constexpr uint32_t kRates[4] = {48000, 44100, 32000, 0};
    if (content.size() < 4)
        return;
    const uint32_t bits = BigEndian32(content.data());
    const uint32_t mode = bits >> (32 - mode_at - 3) & 7;
    stream->channels = kChannels[mode] + (bits >> (32 - mode_at - 4) & 1);
    if (const uint32_t rate = kRates[bits >> (32 - rate_at - 2) & 3]; rate != 0)
        stream->sample_rate = rate;
}

void ExtensionRead(const MemoryBox &box, SoundStream *stream) {
    if (box.Is("esds"))
        ElementaryStream(box.content, stream);
    else if (box.Is("alac"))
        AlacCookie(box.content, stream);
    else if (box.Is("dfLa"))
        FlacInfo(box.content, stream);
    else if (box.Is("dOps"))
        OpusHead(box.content, stream);
    else if (box.Is("dac3"))
        DolbyMode(box.content, 0, 10, stream);
    else if (box.Is("dec3"))
        DolbyMode(box.content, 16, 28, stream);
}

// QuickTime's newer entries have a rate and channels of their own.
void LongEntry(Cursor *cursor, SoundStream *stream) {
    Take(cursor, 4);
    stream->sample_rate = static_cast<uint64_t>(
        std::clamp(std::bit_cast<double>(TakeBig(cursor, 8)), 0.0, static_cast<double>(UINT32_MAX)));
    stream->channels = TakeBig(cursor, 4);
    Take(cursor, 20);
}

} // namespace

void Mp4CodecRead(Bytes description, SoundStream *stream) {
    Cursor cursor{description};
    Take(&cursor, 8);
    MemoryBox entry;
    MemoryBoxTake(&cursor, &entry);
    Cursor fields{entry.content};
    Take(&fields, 8);
    const uint64_t version = TakeBig(&fields, 2);
    Take(&fields, 6);
    stream->channels = TakeBig(&fields, 2);
    Take(&fields, 6);
    stream->sample_rate = TakeBig(&fields, 4) >> 16;
    if (version == 1)
        Take(&fields, 16);
    else if (version == 2)
        LongEntry(&fields, stream);
    for (const Mp4Codec &known : kCodecs) {
        if (entry.Is(known.type)) {
            stream->codec = known.codec;
            stream->bits_per_sample = known.bits;
        }
    }
    for (MemoryBox box; MemoryBoxTake(&fields, &box);) {
        if (box.Is("wave")) // QuickTime's way to have the others in it
            fields.rest = box.content;
        else
            ExtensionRead(box, stream);
    }
}
