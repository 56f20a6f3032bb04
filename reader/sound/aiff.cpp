// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/aiff.h"

#include <math.h>

#include "platform/limits.h"
#include "reader/sound/chunks.h"
#include "reader/sound/end_tags.h"
#include "reader/sound/tag_tables.h"

namespace {

constexpr int64_t kFormHeader = 12;

struct AiffCodec {
    std::string_view compression;
    uint64_t bits; // of the header, 0: any
    const char *codec;
    uint32_t bits_coded;        // of a sample; 0: those of the header
    uint32_t frame_samples = 1; // that count as one frame in the header
    uint32_t frame_bytes = 0;   // of a channel; 0: by the bits
};

constexpr AiffCodec kCodecs[] = {
    {"NONE", 8, "pcm_s8", 0},       {"NONE", 16, "pcm_s16be", 0},  {"NONE", 24, "pcm_s24be", 0},
    {"NONE", 32, "pcm_s32be", 0},   {"twos", 8, "pcm_s8", 0},      {"twos", 16, "pcm_s16be", 0},
    {"twos", 24, "pcm_s24be", 0},   {"twos", 32, "pcm_s32be", 0},  {"sowt", 8, "pcm_s8", 0},
    {"sowt", 16, "pcm_s16le", 0},   {"sowt", 24, "pcm_s24le", 0},  {"sowt", 32, "pcm_s32le", 0},
    {"in24", 0, "pcm_s24be", 24},   {"in32", 0, "pcm_s32be", 32},  {"raw ", 0, "pcm_u8", 8},
    {"fl32", 0, "pcm_f32be", 32},   {"FL32", 0, "pcm_f32be", 32},  {"fl64", 0, "pcm_f64be", 64},
    {"FL64", 0, "pcm_f64be", 64},   {"ulaw", 0, "pcm_mulaw", 8},   {"ULAW", 0, "pcm_mulaw", 8},
    {"alaw", 0, "pcm_alaw", 8},     {"ALAW", 0, "pcm_alaw", 8},    {"ima4", 0, "adpcm_ima_qt", 4, 64, 34},
    {"MAC3", 0, "mace3", 0, 6, 2},  {"MAC6", 0, "mace6", 0, 6, 1}, {"GSM ", 0, "gsm", 0, 160, 33},
    {"agsm", 0, "gsm", 0, 160, 33},
};

// Ten bytes: sign and exponent, then the whole mantissa.
double ExtendedTake(Cursor *cursor) {
    const auto exponent = static_cast<int>(TakeBig(cursor, 2) & 0x7FFF);
    return ldexp(static_cast<double>(TakeBig(cursor, 8)), exponent - 16383 - 63);
}

void CommonRead(Bytes common, SoundStream *stream) {
    Cursor cursor{common};
    stream->channels = TakeBig(&cursor, 2);
    const auto frames = static_cast<double>(TakeBig(&cursor, 4));
    const uint64_t bits = TakeBig(&cursor, 2);
    const double rate = ExtendedTake(&cursor);
    if (cursor.cut || !(rate >= 1) || rate > UINT32_MAX)
        return;
    const Bytes compression = Take(&cursor, 4);
    const std::string_view name = compression.size() == 4 ? Characters(compression) : "NONE";
    stream->sample_rate = static_cast<uint64_t>(rate);
    for (const AiffCodec &known : kCodecs) {
        if (known.compression != name || (known.bits != 0 && known.bits != (bits + 7) / 8 * 8))
            continue;
        stream->codec = known.codec;
        stream->bits_per_sample = known.bits_coded != 0 || known.frame_bytes != 0 ? known.bits_coded : bits;
        const double of_frame = known.frame_bytes != 0
                                    ? known.frame_bytes * 8.0
                                    : static_cast<double>((stream->bits_per_sample + 7) / 8 * 8);
        stream->duration = frames * known.frame_samples / rate;
        stream->bitrate = of_frame * static_cast<double>(stream->channels) * rate / known.frame_samples;
        return;
    }
    stream->duration = frames / rate;
}

bool IsText(const Chunk &chunk) {
    return chunk.Is("NAME") || chunk.Is("AUTH") || chunk.Is("ANNO");
}

} // namespace

void AiffRead(SoundFile *file) {
    ReaderInput *input = file->input;
    SoundStream stream;
    TagItems items;
    int64_t id3 = -1;
    ChunkWalk walk{input, ByteOrder::kBig, 4, kFormHeader, input->size, kSoundChunksMax};
    Chunk chunk;
    while (ChunkTake(&walk, &chunk)) {
        if (chunk.Is("COMM"))
            CommonRead(ChunkRead(input, chunk, 64).View(), &stream);
        else if (chunk.Is("ID3 ") || chunk.Is("id3 "))
            id3 = chunk.begin;
        else if (IsText(chunk))
            ChunkTextAdd(input, chunk, &items);
    }
    stream.container = "aiff";
    StreamFactsAdd(stream, FactSource::own, file->facts);
    if (id3 >= 0)
        Id3v2FactsRead(file, id3);
    FactsFromItems(items, kChunkTable, FactSource::own, file->facts);
}
