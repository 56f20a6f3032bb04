// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/dsd.h"

#include "platform/limits.h"
#include "reader/sound/chunks.h"
#include "reader/sound/end_tags.h"
#include "reader/sound/tag_tables.h"
#include "reader/sound/text.h"
#include "reader/text/code_pages.h"

namespace {

void BitrateSet(SoundStream *stream) {
    stream->bits_per_sample = 1;
    stream->bitrate = static_cast<double>(stream->sample_rate) * static_cast<double>(stream->channels);
}

struct DsdiffParts {
    SoundStream stream;
    int64_t data_bytes = 0;
    uint64_t frames = 0;     // compressed ones
    uint64_t frame_rate = 0; // of these, a second
    int64_t id3 = -1;
};

void PropertiesRead(ReaderInput *input, const Chunk &properties, DsdiffParts *parts) {
    ChunkWalk walk{input, ByteOrder::kBig, 8, properties.begin + 4, properties.end, kSoundChunksMax};
    Chunk chunk;
    while (ChunkTake(&walk, &chunk)) {
        const SoundBytes bytes = ChunkRead(input, chunk, 16);
        Cursor cursor{bytes.View()};
        if (chunk.Is("FS  "))
            parts->stream.sample_rate = TakeBig(&cursor, 4);
        else if (chunk.Is("CHNL"))
            parts->stream.channels = TakeBig(&cursor, 2);
        else if (chunk.Is("CMPR"))
            parts->stream.codec = BeginsWith(cursor.rest, "DST ") ? "dst" : "dsd_msbf";
        else if (chunk.Is("ID3 "))
            parts->id3 = chunk.begin;
    }
}

// Frames of compressed sound begin with their number and rate.
void CompressedRead(ReaderInput *input, const Chunk &data, DsdiffParts *parts) {
    ChunkWalk walk{input, ByteOrder::kBig, 8, data.begin, data.end, 1};
    Chunk chunk;
    if (!ChunkTake(&walk, &chunk) || !chunk.Is("FRTE"))
        return;
    const SoundBytes bytes = ChunkRead(input, chunk, 6);
    Cursor cursor{bytes.View()};
    parts->frames = TakeBig(&cursor, 4);
    parts->frame_rate = TakeBig(&cursor, 2);
    parts->data_bytes = data.end - data.begin;
}

// Texts have their length in front.
void EditedRead(ReaderInput *input, const Chunk &edited, TagItems *items) {
    ChunkWalk walk{input, ByteOrder::kBig, 8, edited.begin, edited.end, kSoundChunksMax};
    Chunk chunk;
    while (ChunkTake(&walk, &chunk)) {
        if (!chunk.Is("DITI") && !chunk.Is("DIAR"))
            continue;
        const SoundBytes bytes = ChunkRead(input, chunk, static_cast<int64_t>(kReaderValueMax));
        Cursor cursor{bytes.View()};
        const uint64_t size = TakeBig(&cursor, 4);
        const Bytes text = Take(&cursor, static_cast<size_t>(size));
        items->push_back({std::string(chunk.name, 4), TextGuess(Characters(text), input->charset)});
    }
}

} // namespace

void DsfRead(SoundFile *file) {
    // "DSD ", its size, the file's size, the place of the tag; "fmt ", its size, version, format, channels' layout, ...
    uint8_t header[80];
    const Bytes bytes{header, SoundRead(file->input, 0, header)};
    Cursor cursor{bytes};
    if (!BeginsWith(bytes, "DSD "))
        return;
    Take(&cursor, 20);
    const uint64_t tag = TakeLittle(&cursor, 8);
    Take(&cursor, 24);
    SoundStream stream;
    stream.channels = TakeLittle(&cursor, 4);
    stream.sample_rate = TakeLittle(&cursor, 4);
    const uint64_t bits = TakeLittle(&cursor, 4);
    const uint64_t samples = TakeLittle(&cursor, 8);
    if (!cursor.cut && stream.sample_rate != 0) {
        stream.duration = static_cast<double>(samples) / static_cast<double>(stream.sample_rate);
        stream.codec = bits == 8 ? "dsd_msbf_planar" : "dsd_lsbf_planar";
        stream.container = "dsf";
        BitrateSet(&stream);
        StreamFactsAdd(stream, FactSource::own, file->facts);
    }
    if (tag != 0 && tag < static_cast<uint64_t>(file->input->size))
        Id3v2FactsRead(file, static_cast<int64_t>(tag));
}

void DsdiffRead(SoundFile *file) {
    // "FRM8", its size, "DSD ".
    constexpr int64_t kFormHeader = 16;
    ReaderInput *input = file->input;
    DsdiffParts parts;
    TagItems items;
    ChunkWalk walk{input, ByteOrder::kBig, 8, kFormHeader, input->size, kSoundChunksMax};
    Chunk chunk;
    while (ChunkTake(&walk, &chunk)) {
        if (chunk.Is("PROP"))
            PropertiesRead(input, chunk, &parts);
        else if (chunk.Is("DSD "))
            parts.data_bytes = chunk.end - chunk.begin;
        else if (chunk.Is("DST "))
            CompressedRead(input, chunk, &parts);
        else if (chunk.Is("DIIN"))
            EditedRead(input, chunk, &items);
        else if (chunk.Is("ID3 "))
            parts.id3 = chunk.begin;
    }
    SoundStream &stream = parts.stream;
    BitrateSet(&stream);
    if (parts.frame_rate != 0) {
        stream.duration = static_cast<double>(parts.frames) / static_cast<double>(parts.frame_rate);
        stream.bitrate =
            stream.duration > 0 ? static_cast<double>(parts.data_bytes) * 8 / stream.duration : 0;
    } else if (stream.bitrate > 0) {
        stream.duration = static_cast<double>(parts.data_bytes) * 8 / stream.bitrate;
    }
    stream.container = "iff";
    StreamFactsAdd(stream, FactSource::own, file->facts);
    if (parts.id3 >= 0)
        Id3v2FactsRead(file, parts.id3);
    FactsFromItems(items, kChunkTable, FactSource::own, file->facts);
}
