// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/mp3_file.h"

#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "platform/file.h"

namespace {

// Makes the window begin at `pos`, which lies below readable_end. A position that cannot be read (a bad
// sector, a file cut short by another program) becomes the end: trying every byte behind it would take the
// disk's time for each.
void Refill(Mp3FileCtx *ctx, int64_t pos) {
    ssize_t count = FileReadSomeAt(ctx->file, static_cast<uint64_t>(pos), ctx->cache, sizeof ctx->cache);
    if (count <= 0) {
        ctx->readable_end = pos;
        count = 0;
    }
    ctx->cache_start = pos;
    ctx->cache_end = std::min(pos + count, ctx->readable_end);
}

std::span<const uint8_t> SourceWindow(void *reader, int64_t pos, size_t least) {
    return Mp3Window(static_cast<Mp3FileCtx *>(reader), pos, least);
}

int64_t SourceNextData(void *reader, int64_t pos) {
    const auto *ctx = static_cast<const Mp3FileCtx *>(reader);
    return FileNextData(ctx->file.get(), pos, ctx->readable_end);
}

} // namespace

bool Mp3FileOpen(const char *path, Mp3FileCtx *ctx, const char *log_name, int line) {
    // A pipe that has taken the file's place fails below.
    FdHandle file = OpenForReading(path);
    if (!file) {
        syslog(LOG_ERR, "%s (%d) Unable to open %s ", log_name, line, path);
        return false;
    }
    if (lseek(file.get(), 0, SEEK_END) < 0) {
        syslog(LOG_ERR, "%s (%d) Unable to seek to end %s ", log_name, line, path);
        return false;
    }
    const off_t size = lseek(file.get(), 0, SEEK_CUR);
    if (size == -1) {
        syslog(LOG_ERR, "%s (%d) Seeking to end of input file %s failed.", log_name, line, path);
        return false;
    }
    Mp3FileAttach(ctx, std::move(file), size);
    return true;
}

void Mp3FileAttach(Mp3FileCtx *ctx, FdHandle file, int64_t size) {
    ctx->file = std::move(file);
    ctx->file_size = std::min(size, kReaderFileMax);
    ctx->readable_end = ctx->file_size;
    ctx->cache_start = 0;
    ctx->cache_end = 0;
}

std::span<const uint8_t> Mp3Window(Mp3FileCtx *ctx, int64_t pos, size_t least) {
    if (pos < 0 || pos >= ctx->readable_end)
        return {};
    const int64_t wanted = std::min(static_cast<int64_t>(least), ctx->readable_end - pos);
    if (pos < ctx->cache_start || wanted > ctx->cache_end - pos)
        Refill(ctx, pos);
    const auto offset = static_cast<size_t>(pos - ctx->cache_start);
    return {ctx->cache + offset, static_cast<size_t>(ctx->cache_end - pos)};
}

ByteSource Mp3Source(Mp3FileCtx *ctx) {
    return {ctx, ctx->file_size, SourceWindow, SourceNextData};
}

uint32_t Mp3ReadSyncsafe(Mp3FileCtx *ctx, int64_t pos) {
    if (pos < 0)
        return kUnreadByte;
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value |= static_cast<uint32_t>(Mp3ReadByte(ctx, pos + i)) << (21 - 7 * i);
    return value;
}

uint32_t Mp3ReadBE32(Mp3FileCtx *ctx, int64_t pos) {
    if (pos < 0)
        return kUnreadByte;
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | static_cast<uint32_t>(Mp3ReadByte(ctx, pos + i));
    return value;
}

int64_t Mp3FindZero(Mp3FileCtx *ctx, int64_t from, int64_t to) {
    while (from < to) {
        const std::span<const uint8_t> bytes = Mp3Window(ctx, from, 1);
        if (bytes.empty())
            return to;
        const int64_t count = std::min(static_cast<int64_t>(bytes.size()), to - from);
        const void *zero = memchr(bytes.data(), 0, static_cast<size_t>(count));
        if (zero != nullptr)
            return from + (static_cast<const uint8_t *>(zero) - bytes.data());
        from += count;
    }
    return to;
}
