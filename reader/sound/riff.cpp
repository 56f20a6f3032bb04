// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/riff.h"

#include "platform/limits.h"
#include "reader/sound/chunks.h"
#include "reader/sound/end_tags.h"
#include "reader/sound/mpeg.h"
#include "reader/sound/tag_tables.h"
#include "reader/sound/wave_codecs.h"

namespace {

// The form, its size, "WAVE".
constexpr int64_t kFormHeader = 12;

// A size of 2^32 - 1 in a chunk of RF64 says that the chunk "ds64" has it.
constexpr int64_t kSizeElsewhere = UINT32_MAX;

constexpr int64_t kFormatRead = 128;

struct WavParts {
    WaveFormat format;
    SoundStream stream;
    int64_t data_begin = 0;
    int64_t data_bytes = 0;
    uint64_t data_bytes_long = 0; // of RF64
    uint64_t samples = 0;         // of a channel, where the file tells
    int64_t id3 = -1;
};

void InfoRead(ReaderInput *input, const Chunk &list, TagItems *items) {
    char kind[4] = {};
    if (SoundRead(input, list.begin, {reinterpret_cast<uint8_t *>(kind), 4}) < 4 ||
        std::string_view(kind, 4) != "INFO")
        return;
    ChunkWalk walk{input, ByteOrder::kLittle, 4, list.begin + 4, list.end, kSoundChunksMax};
    Chunk chunk;
    while (ChunkTake(&walk, &chunk))
        ChunkTextAdd(input, chunk, items);
}

void ChunkUse(ReaderInput *input, const Chunk &chunk, WavParts *parts, TagItems *items) {
    if (chunk.Is("fmt ")) {
        parts->format = WaveFormatRead(ChunkRead(input, chunk, kFormatRead).View(), &parts->stream);
    } else if (chunk.Is("ds64")) {
        const SoundBytes bytes = ChunkRead(input, chunk, 24);
        Cursor cursor{bytes.View()};
        Take(&cursor, 8);
        parts->data_bytes_long = TakeLittle(&cursor, 8);
    } else if (chunk.Is("fact")) {
        const SoundBytes bytes = ChunkRead(input, chunk, 4);
        Cursor cursor{bytes.View()};
        parts->samples = TakeLittle(&cursor, 4);
    } else if (chunk.Is("data") && parts->data_begin == 0) {
        parts->data_begin = chunk.begin;
        parts->data_bytes = chunk.end - chunk.begin;
    } else if (chunk.Is("LIST")) {
        InfoRead(input, chunk, items);
    } else if (chunk.Is("ID3 ") || chunk.Is("id3 ")) {
        parts->id3 = chunk.begin;
    }
}

bool IsPcm(const SoundStream &stream) {
    return stream.codec != nullptr && std::string_view(stream.codec).starts_with("pcm_");
}

void DurationSet(ReaderInput *input, WavParts *parts) {
    SoundStream &stream = parts->stream;
    const auto bytes = static_cast<double>(parts->data_bytes);
    const auto rate = static_cast<double>(stream.sample_rate);
    const auto of_second = static_cast<double>(parts->format.bytes_per_second);
    if (IsPcm(stream) && parts->format.block_bytes > 0) {
        stream.bitrate = static_cast<double>(parts->format.block_bytes) * 8 * rate;
        stream.duration = stream.bitrate > 0 ? bytes * 8 / stream.bitrate : 0;
        return;
    }
    stream.bitrate = of_second * 8;
    // Programs that write a stream do not come back to fill in the samples.
    const double told = rate > 0 ? static_cast<double>(parts->samples) / rate : 0;
    const double counted = of_second > 0 ? bytes / of_second : 0;
    stream.duration = told > 0 ? told : counted;
    SoundStream mpeg;
    if (parts->format.tag == 0x55 &&
        MpegStreamRead(input, parts->data_begin, parts->data_begin + parts->data_bytes, &mpeg))
        stream.duration = told > 0 ? told : mpeg.duration;
    if (!(stream.bitrate > 0) && stream.duration > 0) // left open, as for VBR
        stream.bitrate = bytes * 8 / stream.duration;
}

} // namespace

void WavRead(SoundFile *file) {
    ReaderInput *input = file->input;
    WavParts parts;
    TagItems items;
    ChunkWalk walk{input, ByteOrder::kLittle, 4, kFormHeader, input->size, kSoundChunksMax};
    Chunk chunk;
    while (ChunkTake(&walk, &chunk)) {
        if (chunk.Is("data") && chunk.size == kSizeElsewhere && parts.data_bytes_long > 0) {
            const auto size = std::min<uint64_t>(parts.data_bytes_long, kReaderFileMax);
            chunk.end = chunk.begin + std::min(static_cast<int64_t>(size), input->size - chunk.begin);
            walk.at = chunk.end + static_cast<int64_t>(size & 1);
        }
        ChunkUse(input, chunk, &parts, &items);
    }
    DurationSet(input, &parts);
    parts.stream.container = "wav";
    StreamFactsAdd(parts.stream, FactSource::own, file->facts);
    if (parts.id3 >= 0)
        Id3v2FactsRead(file, parts.id3);
    FactsFromItems(items, kChunkTable, FactSource::own, file->facts);
}
