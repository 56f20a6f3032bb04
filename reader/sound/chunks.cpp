// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/chunks.h"

#include "platform/limits.h"
#include "reader/sound/text.h"
#include "reader/text/code_pages.h"

bool ChunkTake(ChunkWalk *walk, Chunk *chunk) {
    uint8_t header[12];
    const size_t header_size = 4 + walk->size_bytes;
    if (walk->chunks_left-- <= 0 || walk->at > walk->end - static_cast<int64_t>(header_size) ||
        SoundRead(walk->input, walk->at, {header, header_size}) < header_size)
        return false;
    std::copy_n(reinterpret_cast<const char *>(header), 4, chunk->name);
    const uint64_t size = BytesNumber(header + 4, walk->size_bytes, walk->order);
    chunk->begin = walk->at + static_cast<int64_t>(header_size);
    chunk->size = static_cast<int64_t>(std::min<uint64_t>(size, kReaderFileMax));
    chunk->end = chunk->begin + std::min(chunk->size, walk->end - chunk->begin);
    walk->at = chunk->end + (chunk->size & 1);
    return true;
}

SoundBytes ChunkRead(ReaderInput *input, const Chunk &chunk, int64_t size) {
    return SoundBytesRead(input, chunk.begin, std::min(size, chunk.end - chunk.begin));
}

void ChunkTextAdd(ReaderInput *input, const Chunk &chunk, TagItems *items) {
    const SoundBytes bytes = ChunkRead(input, chunk, static_cast<int64_t>(kReaderValueMax));
    Cursor cursor{bytes.View()};
    const Bytes text = TakeText(&cursor, TextEncoding::utf8);
    if (items->size() < kSoundItemsMax)
        items->push_back({std::string(chunk.name, 4), TextGuess(Characters(text), input->charset)});
}
