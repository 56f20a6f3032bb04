// SPDX-License-Identifier: GPL-2.0-or-later
//
// The files that were handed over, and what came of them.
#include <poll.h>

#include <algorithm>
#include <utility>

#include "platform/clock.h"
#include "reader/pool/pool_parts.h"

namespace {

size_t BytesOf(const ReadResult &read) {
    return sizeof read + read.answer.facts.text_bytes + read.answer.facts.facts.size() * sizeof(Fact) +
           (read.picture_had ? 0 : read.answer.picture_bytes) + read.entries.packed.size();
}

// Of all files, const or not.
template <typename Files>
auto PlaceOf(Files &files, ReadTicket ticket) {
    return std::ranges::find(files, ticket, &PoolFile::ticket);
}

// Killed processes are gone within moments, unless they hang in a file system that does not answer. Those are left to
// a later call.
void EndingWait(ReaderPool *pool) {
    const int64_t until = MonotonicMilliseconds() + kReaderEndMilliseconds;
    ReaderPoolReap(pool);
    while (!pool->ending.empty()) {
        const int64_t left = until - MonotonicMilliseconds();
        pollfd first = {pool->ending.front().alive.get(), POLLIN, 0};
        if (left <= 0 || poll(&first, 1, static_cast<int>(left)) == 0)
            return;
        ReaderPoolReap(pool);
    }
}

} // namespace

PoolFile *PoolFileFind(ReaderPool *pool, ReadTicket ticket) {
    const auto file = PlaceOf(pool->files, ticket);
    return file != pool->files.end() ? &*file : nullptr;
}

void PoolFileRead(ReaderPool *pool, PoolFile *file, ReadResult read) {
    file->read = std::move(read);
    file->read.kind = file->file.kind;
    file->file.file.Close();
    file->file.companions.clear();
    file->state = PoolFileState::read;
    file->bytes = BytesOf(file->read);
    pool->bytes += file->bytes;
}

void PoolFileUnread(ReaderPool *pool, PoolFile *file, ReadEnd end, std::string reason) {
    ReadResult read;
    read.end = end;
    read.reason = std::move(reason);
    PoolFileRead(pool, file, std::move(read));
}

void ReaderPoolReap(ReaderPool *pool) {
    std::erase_if(pool->ending, [](ReaderProcess &process) {
        int status = 0;
        return ReaderProcessReap(&process, &status);
    });
}

ReadTicket ReaderPoolHandOver(ReaderPool *pool, FileToRead file) {
    pool->files.push_back({.ticket = pool->last_ticket + 1, .file = std::move(file)});
    return ++pool->last_ticket;
}

bool ReaderPoolIsRead(const ReaderPool &pool, ReadTicket ticket) {
    const auto file = PlaceOf(pool.files, ticket);
    return file != pool.files.end() && file->state == PoolFileState::read;
}

ReadResult ReaderPoolTake(ReaderPool *pool, ReadTicket ticket) {
    ReadResult read;
    if (PoolFile *file = PoolFileFind(pool, ticket); file != nullptr)
        read = std::move(file->read);
    ReaderPoolForget(pool, ticket);
    return read;
}

void ReaderPoolForget(ReaderPool *pool, ReadTicket ticket) {
    const auto file = PlaceOf(pool->files, ticket);
    if (file == pool->files.end())
        return;
    pool->bytes -= file->bytes;
    pool->files.erase(file);
}

size_t ReaderPoolBytes(const ReaderPool &pool) {
    return pool.bytes;
}

void ReaderPoolEnd(ReaderPool *pool) {
    while (!pool->readers.empty())
        PoolReaderEnd(pool, &pool->readers.back());
    EndingWait(pool);
    pool->files.clear();
    pool->bytes = 0;
    pool->recent = {};
    for (PoolKind &kind : pool->kinds) {
        kind.failed_starts = kind.killed_starts = 0;
        kind.unavailable.clear();
    }
}
