// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the files of the pool need of each other.
#pragma once

#include <stddef.h>

#include <string>

#include "reader/pool/reader_pool.h"

// The reason for which a reader is given up that says what it may not, or nothing more.
inline constexpr char kPoolLies[] = "its reader did not keep to what was agreed";

inline constexpr char kPoolTooMuchMemory[] = "it takes too much memory";

inline PoolKind &PoolKindOf(ReaderPool *pool, ReaderKind kind) {
    return pool->kinds[static_cast<size_t>(kind)];
}

inline bool PoolReaderWorks(const PoolReader &reader) {
    return !reader.ready || reader.handed_count > 0;
}

// Returns the file of a ticket, or null when it was given up.
PoolFile *PoolFileFind(ReaderPool *pool, ReadTicket ticket);

// Closes the file: this is what came of it.
void PoolFileRead(ReaderPool *pool, PoolFile *file, ReadResult read);
void PoolFileUnread(ReaderPool *pool, PoolFile *file, ReadEnd end, std::string reason);

// Hands what waits to readers with room, and starts readers; unless `wait`, several at a time.
void PoolDispatch(ReaderPool *pool, bool wait);

// From now on the reader is at the first of its files.
void PoolReaderBegins(const ReaderPool *pool, PoolReader *reader);

// Ends a reader, which has to be given up for the reason told: `end` is blamed on the file that it is at, if any. Files that
// it has been handed behind that go to another.
void PoolReaderGiveUp(ReaderPool *pool, PoolReader *reader, ReadEnd end, const std::string &reason);

// Kills a reader and forgets it; its process is reaped when it has ended.
void PoolReaderEnd(ReaderPool *pool, PoolReader *reader);

// Gives up the readers that have passed a bound.
void PoolWatch(ReaderPool *pool);

// Milliseconds until a reader is to be looked at; -1 when none is at work.
int PoolNextLook(const ReaderPool &pool);
