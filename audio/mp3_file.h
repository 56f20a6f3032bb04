// SPDX-License-Identifier: GPL-2.0-or-later
//
// Mp3FileCtx: the byte reader over one MP3 file, and below the reader of MPEG video. Bytes are asked for by
// 64-bit position and come from a window; there is no error to check: a byte outside the file, or one that
// cannot be read, is kUnreadByte and costs no system call. Tag and frame parsers live with that, because 17
// begins no frame of either kind.
#pragma once

#include "audio/byte_source.h"
#include "platform/handle.h"
#include "platform/limits.h"

// What the search for a Xing mark has seen: from `start` (-1: no search yet) to `end` no Xing mark, and the first VBRI
// mark at `vbri` (-1: none).
struct MarksPassed {
    int64_t start = -1;
    int64_t end = 0;
    int64_t vbri = -1;
};

struct Mp3FileCtx {
    FdHandle file;
    int64_t file_size = 0;    // where searches stop: the file's size, less a trailing ID3v1 tag
    int64_t readable_end = 0; // no byte can be had from here on
    int64_t cache_start = 0;  // positions of the bytes in `cache`: [cache_start, cache_end)
    int64_t cache_end = 0;
    MarksPassed passed;
    uint8_t cache[kReaderWindow];
};

// Opens the file `path` with the context. False when it cannot be opened, or has no end to seek to, as a pipe;
// that is logged in the name and line of the caller.
bool Mp3FileOpen(const char *path, Mp3FileCtx *ctx, const char *log_name, int line = __builtin_LINE());

// Gives the context an open file of `size` bytes. What the file grows by afterwards is not seen, nor what it
// has beyond kReaderFileMax.
void Mp3FileAttach(Mp3FileCtx *ctx, FdHandle file, int64_t size);

// Returns the window as one piece; see ByteSource.
std::span<const uint8_t> Mp3Window(Mp3FileCtx *ctx, int64_t pos, size_t least);

// Makes the context a source for the searches. The source takes the size of this moment; the context must
// outlive it.
ByteSource Mp3Source(Mp3FileCtx *ctx);

inline int Mp3ReadByte(Mp3FileCtx *ctx, int64_t pos) {
    if (pos >= ctx->cache_start && pos < ctx->cache_end)
        return ctx->cache[pos - ctx->cache_start];
    const std::span<const uint8_t> bytes = Mp3Window(ctx, pos, 1);
    return bytes.empty() ? kUnreadByte : bytes[0];
}

// Returns the number in four bytes of seven bits each (id3.org 2.4.0, section 6.2). Bit 7 is not masked: it
// spills into the next group. 17 for a negative position.
uint32_t Mp3ReadSyncsafe(Mp3FileCtx *ctx, int64_t pos);

// Returns a big-endian 32-bit number; 17 for a negative position.
uint32_t Mp3ReadBE32(Mp3FileCtx *ctx, int64_t pos);

// Returns the position of the first zero byte in [from, to), or `to`.
int64_t Mp3FindZero(Mp3FileCtx *ctx, int64_t from, int64_t to);
