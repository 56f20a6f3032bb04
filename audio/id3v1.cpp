// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/id3v1.h"

#include <syslog.h>
#include <unistd.h>

#include "platform/file.h"

namespace {

constexpr char kLogName[] = "metaid3.c";

constexpr int64_t kMarkBytes = 3; // "TAG"

void EmptyIfBlank(char *field, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        if (field[i] == ' ')
            continue;
        if (field[i] == '\0')
            field[0] = '\0';
        return;
    }
    field[0] = '\0';
}

} // namespace

int Id3v1Read(Mp3FileCtx *ctx, Id3v1Block *block) {
    const int64_t tag = ctx->file_size - kId3v1TagBytes;
    if (Mp3ReadByte(ctx, tag) != 'T' || Mp3ReadByte(ctx, tag + 1) != 'A' || Mp3ReadByte(ctx, tag + 2) != 'G')
        return 0;
    const int64_t text = tag + kMarkBytes;
    if (lseek(ctx->file.get(), text, SEEK_SET) < 0) {
        syslog(LOG_ERR, "%s (%d) Failed to seek to (%lld)", kLogName, __LINE__, static_cast<long long>(text));
        return -1;
    }
    if (FileReadSome(ctx->file, block->bytes, sizeof block->bytes) <= 0) {
        syslog(LOG_ERR, "%s (%d) Failed to read id3v1 data", kLogName, __LINE__);
        return -1;
    }
    ctx->file_size = tag;

    EmptyIfBlank(block->bytes + kId3v1Title, kId3v1TextBytes);
    EmptyIfBlank(block->bytes + kId3v1Artist, kId3v1TextBytes);
    EmptyIfBlank(block->bytes + kId3v1Album, kId3v1TextBytes);
    EmptyIfBlank(block->bytes + kId3v1Year, kId3v1YearBytes);
    EmptyIfBlank(block->bytes + kId3v1Comment, kId3v1TextBytes);
    return 1;
}
