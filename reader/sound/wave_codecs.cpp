// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/wave_codecs.h"

namespace {

struct WaveCodec {
    uint64_t tag;
    uint64_t bits; // 0: any
    const char *codec;
};

// Codecs with samples of so many bits each; of others the number in the description says nothing.
bool HasSampleBits(std::string_view codec) {
    return codec.starts_with("pcm_") || codec == "adpcm_ms" || codec == "adpcm_ima_wav" ||
           codec == "wmalossless";
}

// libavformat takes the bits of a sample as they are.
constexpr WaveCodec kCodecs[] = {
    {0x0001, 8, "pcm_u8"},       {0x0001, 16, "pcm_s16le"}, {0x0001, 24, "pcm_s24le"},
    {0x0001, 32, "pcm_s32le"},   {0x0001, 64, "pcm_s64le"}, {0x0003, 32, "pcm_f32le"},
    {0x0003, 64, "pcm_f64le"},   {0x0002, 0, "adpcm_ms"},   {0x0006, 0, "pcm_alaw"},
    {0x0007, 0, "pcm_mulaw"},    {0x000A, 0, "wmavoice"},   {0x0011, 0, "adpcm_ima_wav"},
    {0x0020, 0, "adpcm_yamaha"}, {0x0022, 0, "truespeech"}, {0x0031, 0, "gsm_ms"},
    {0x0042, 0, "g723_1"},       {0x0045, 0, "adpcm_g726"}, {kWaveMpeg, 0, "mp2"},
    {kWaveMpegLayer3, 0, "mp3"}, {0x00FF, 0, "aac"},        {0x0160, 0, "wmav1"},
    {0x0161, 0, "wmav2"},        {0x0162, 0, "wmapro"},     {0x0163, 0, "wmalossless"},
    {0x0270, 0, "atrac3"},       {0x1600, 0, "aac"},        {0x1610, 0, "aac"},
    {0x2000, 0, "ac3"},          {0x2001, 0, "dts"},        {0x706D, 0, "aac"},
    {0xF1AC, 0, "flac"},
};

// The tag of the descriptions that have the real one in the first bytes of an identifier.
constexpr uint64_t kExtensible = 0xFFFE;

} // namespace

WaveFormat WaveFormatRead(Bytes description, SoundStream *stream) {
    Cursor cursor{description};
    WaveFormat format;
    format.tag = TakeLittle(&cursor, 2);
    stream->channels = TakeLittle(&cursor, 2);
    stream->sample_rate = TakeLittle(&cursor, 4);
    format.bytes_per_second = TakeLittle(&cursor, 4);
    format.block_bytes = TakeLittle(&cursor, 2);
    stream->bits_per_sample = TakeLittle(&cursor, 2);
    if (format.tag == kExtensible) {
        Take(&cursor, 8);
        format.tag = TakeLittle(&cursor, 2);
    }
    for (const WaveCodec &known : kCodecs) {
        if (known.tag == format.tag &&
            (known.bits == 0 || known.bits == (stream->bits_per_sample + 7) / 8 * 8))
            stream->codec = known.codec;
    }
    if (stream->codec == nullptr || !HasSampleBits(stream->codec))
        stream->bits_per_sample = 0;
    return format;
}
