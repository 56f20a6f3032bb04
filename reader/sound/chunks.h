// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files made of chunks: RIFF (little endian), AIFF and DSDIFF (big endian), each with a name and a size.
#pragma once

#include "reader/sound/sound_bytes.h"
#include "reader/sound/sound_file.h"
#include "reader/sound/tag_items.h"

struct Chunk {
    char name[4] = {};
    int64_t begin = 0; // of what is in it
    int64_t size = 0;  // as the chunk says
    int64_t end = 0;   // of what there is of it

    bool Is(std::string_view wanted) const { return std::string_view(name, 4) == wanted; }
};

struct ChunkWalk {
    ReaderInput *input;
    ByteOrder order;
    size_t size_bytes; // of a chunk's size: 4, in DSDIFF 8
    int64_t at;        // of the next chunk
    int64_t end;
    int chunks_left; // kSoundChunksMax at first
};

// Takes the next chunk. Returns false at the end.
bool ChunkTake(ChunkWalk *walk, Chunk *chunk);

// Reads what is in a chunk, at most `size` bytes.
SoundBytes ChunkRead(ReaderInput *input, const Chunk &chunk, int64_t size);

// Adds a text that fills a chunk up to its end or a NUL.
void ChunkTextAdd(ReaderInput *input, const Chunk &chunk, TagItems *items);
