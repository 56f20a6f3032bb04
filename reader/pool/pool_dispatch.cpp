// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which reader gets which file, and when readers are started and replaced.
#include <errno.h>
#include <string.h>
#include <sys/socket.h>

#include <algorithm>
#include <bit>
#include <span>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "reader/pool/pool_parts.h"

namespace {

constexpr ReaderKind kKinds[kReaderKinds] = {ReaderKind::sound_and_photos, ReaderKind::films};

bool HasRoom(const PoolReader &reader, const ReaderBounds &bounds) {
    return reader.ready && !reader.gives_way && !reader.hung_up && reader.files < bounds.files &&
           reader.handed_count < kReaderSlots;
}

// A reader that no file can have taken over yet.
bool IsFresh(const PoolReader &reader) {
    return reader.files == 0 && !reader.gives_way && !reader.hung_up;
}

PoolReader *ReaderWithRoom(ReaderPool *pool, ReaderKind kind, bool fresh) {
    PoolReader *found = nullptr;
    for (PoolReader &reader : pool->readers) {
        if (reader.kind == kind && HasRoom(reader, pool->bounds) && (!fresh || IsFresh(reader)) &&
            (found == nullptr || reader.handed_count < found->handed_count))
            found = &reader;
    }
    return found;
}

// A reader has ended at it, perhaps by what that had read before.
bool IsSuspect(const PoolFile &file) {
    return file.ended > 0;
}

uint32_t FreeSlot(const PoolReader &reader) {
    uint32_t used = 0;
    for (int i = 0; i < reader.handed_count; ++i)
        used |= 1u << reader.handed[i].slot;
    return static_cast<uint32_t>(std::countr_one(used));
}

Request RequestOf(const FileToRead &file) {
    Request request;
    if (file.wants_picture)
        request.wants = kWantsPicture;
    request.size = file.size;
    if (file.extension.size() < sizeof request.extension)
        memcpy(request.extension, file.extension.data(), file.extension.size());
    if (file.charset.size() < sizeof request.charset)
        memcpy(request.charset, file.charset.data(), file.charset.size());
    return request;
}

void FileHand(ReaderPool *pool, PoolReader *reader, PoolFile *file) {
    Request request = RequestOf(file->file);
    request.number = ++pool->last_number;
    request.slot = FreeSlot(*reader);
    std::vector<int> descriptors = {file->file.file.get()};
    for (const FdHandle &companion : file->file.companions)
        descriptors.push_back(companion.get());
    if (PacketSend(reader->process.socket.get(), std::as_bytes(std::span(&request, 1)), descriptors,
                   MSG_DONTWAIT) < 0) {
        const int reason = errno;
        const bool ends =
            reason == EPIPE || reason == ECONNRESET; // what it has said before is still to be taken
        if (!ends &&
            reader->handed_count == 0) // nothing will come that would make another attempt worth while
            PoolFileUnread(pool, file, ReadEnd::no_reader, strerror(reason));
        return;
    }
    file->state = PoolFileState::handed_over;
    reader->handed[reader->handed_count++] = {file->ticket, request.number, request.slot};
    reader->last_number = request.number;
    ++reader->files;
    if (reader->handed_count == 1)
        PoolReaderBegins(pool, reader);
}

// Those that are suspect, or the others.
void FilesHand(ReaderPool *pool, bool suspect) {
    bool first = true; // of those that are not read
    for (PoolFile &file : pool->files) {
        const bool others_wait = std::exchange(first, first && file.state == PoolFileState::read);
        if (file.state != PoolFileState::waits || IsSuspect(file) != suspect)
            continue;
        // What is read ahead has to wait, but the first is what all others wait for.
        if (pool->bytes >= kReaderAheadBytes && !others_wait)
            return;
        if (const PoolKind &kind = PoolKindOf(pool, file.file.kind); !kind.unavailable.empty())
            PoolFileUnread(pool, &file, ReadEnd::no_reader, kind.unavailable);
        else if (PoolReader *reader = ReaderWithRoom(pool, file.file.kind, suspect); reader != nullptr)
            FileHand(pool, reader, &file);
    }
}

// Ends readers that have nothing to do and are not to get any more.
void DoneEnd(ReaderPool *pool) {
    for (size_t i = pool->readers.size(); i-- > 0;) {
        PoolReader &reader = pool->readers[i];
        if (!reader.ready || reader.handed_count > 0)
            continue;
        if (reader.hung_up)
            PoolReaderGiveUp(pool, &reader, ReadEnd::crashed, "it ended without a reason");
        else if (reader.gives_way || reader.files >= pool->bounds.files)
            PoolReaderEnd(pool, &reader);
    }
}

void ReaderStart(ReaderPool *pool, ReaderKind kind) {
    PoolKind &of_kind = PoolKindOf(pool, kind);
    PoolReader reader;
    reader.kind = kind;
    pool->readers.reserve(pool->readers.size() + 1);
    pool->ending.reserve(pool->ending.size() + pool->readers.size() + 1);
    if (pool->ending.size() >= kReaderEndingMax) {
        of_kind.unavailable = "readers that were killed do not end";
    } else if (!ReaderProcessStart(of_kind.program.c_str(), &reader.process)) {
        const int reason = errno;
        if (reason == ENOENT || ++of_kind.failed_starts >= kReaderStartsMax)
            of_kind.unavailable = of_kind.program + ": " + strerror(reason);
    } else {
        reader.since = MonotonicMilliseconds();
        reader.next_look = reader.since + pool->bounds.start_milliseconds;
        pool->readers.push_back(std::move(reader));
    }
}

// The reader of a kind that has least to do gives way to one that is fresh.
void FreshMake(ReaderPool *pool, ReaderKind kind) {
    PoolReader *least = nullptr;
    for (PoolReader &reader : pool->readers) {
        if (reader.kind != kind)
            continue;
        if (reader.gives_way)
            return;
        if (least == nullptr || reader.handed_count < least->handed_count)
            least = &reader;
    }
    if (least != nullptr)
        least->gives_way = true;
}

// Sees to it that a reader of the kind can be started, now or later. Readers of the other kind that have long had nothing to
// do go, and where the kind has none, one goes that has nothing to do now; if the other kind has several, one of them is not
// given any more.
bool PlaceMake(ReaderPool *pool, ReaderKind kind) {
    bool has_one = false;
    PoolReader *other = nullptr;
    int others = 0;
    for (PoolReader &reader : pool->readers) {
        has_one = has_one || reader.kind == kind || reader.gives_way;
        if (reader.kind == kind)
            continue;
        ++others;
        if (other == nullptr || reader.handed_count < other->handed_count)
            other = &reader;
    }
    if (other == nullptr || !other->ready)
        return false;
    const bool idle = other->handed_count == 0;
    if (idle && (!has_one || pool->last_number - other->last_number >= kReaderIdleFiles)) {
        PoolReaderEnd(pool, other);
        return true;
    }
    if (!has_one && others > 1)
        other->gives_way = true;
    return false;
}

bool KindHasReader(const ReaderPool &pool, ReaderKind kind) {
    return std::ranges::find(pool.readers, kind, &PoolReader::kind) != pool.readers.end();
}

void ReadersStart(ReaderPool *pool, ReaderKind kind) {
    const auto waits = [&](const PoolFile &file) {
        return file.state == PoolFileState::waits && file.file.kind == kind;
    };
    const auto starts = [&](const PoolReader &reader) { return reader.kind == kind && !reader.ready; };
    const auto fresh = [&](const PoolReader &reader) { return reader.kind == kind && IsFresh(reader); };
    const auto suspect = [&](const PoolFile &file) { return waits(file) && IsSuspect(file); };
    const auto waiting = std::ranges::count_if(pool->files, waits);
    if (waiting <= std::ranges::count_if(pool->readers, starts) * kReaderSlots)
        return;
    if (std::ssize(pool->readers) < pool->readers_max || PlaceMake(pool, kind))
        ReaderStart(pool, kind);
    else if (std::ranges::any_of(pool->files, suspect) && std::ranges::none_of(pool->readers, fresh))
        FreshMake(pool, kind);
}

// Notes that a reader ended before it was of use. True when no more are to be started. Who is killed while starting need not
// be at fault.
bool IsLastStart(PoolKind *kind, ReadEnd end) {
    if (end == ReadEnd::killed)
        return ++kind->killed_starts >= kReaderKilledStartsMax;
    return ++kind->failed_starts >= kReaderStartsMax;
}

// Who has used up its time or its memory need not try again: what is remembered of that does not count at once. Else the reader
// may have been ended by what it had read before, or by somebody else.
int AttemptsOf(ReadEnd end, const PoolReader &reader) {
    switch (end) {
    case ReadEnd::crashed:
        return kReaderCrashesMax;
    case ReadEnd::killed:
        return kReaderKillsMax;
    case ReadEnd::processor_time:
        return reader.answered ? kReaderCrashesMax : 1;
    default:
        return 1;
    }
}

// True while a reader is better left alone than woken for what there is.
bool MayRest(const ReaderPool &pool) {
    const auto waits = [](const PoolFile &file) { return file.state == PoolFileState::waits; };
    const auto rests = [](const PoolReader &reader) { return reader.ready && reader.handed_count == 0; };
    return std::ranges::any_of(pool.readers, rests) &&
           std::ranges::count_if(pool.files, waits) < kReaderWakeFiles;
}

} // namespace

void PoolReaderBegins(const ReaderPool *pool, PoolReader *reader) {
    reader->since = MonotonicMilliseconds();
    reader->next_look = reader->since + std::min(pool->bounds.look_milliseconds, pool->bounds.milliseconds);
    reader->processor_since = ReaderProcessorTime(reader->process);
}

void PoolReaderEnd(ReaderPool *pool, PoolReader *reader) {
    ReaderProcessKill(&reader->process);
    pool->ending.push_back(std::move(reader->process));
    pool->readers.erase(pool->readers.begin() + (reader - pool->readers.data()));
}

void PoolReaderGiveUp(ReaderPool *pool, PoolReader *reader, ReadEnd end, const std::string &reason) {
    PoolKind &kind = PoolKindOf(pool, reader->kind);
    for (int i = 0; i < reader->handed_count; ++i) {
        PoolFile *file = PoolFileFind(pool, reader->handed[i].ticket);
        if (file == nullptr)
            continue;
        file->state = PoolFileState::waits;
        if (i == 0 && ++file->ended >= AttemptsOf(end, *reader))
            PoolFileUnread(pool, file, end, reason);
    }
    if (reader->handed_count == 0 && !reader->answered && IsLastStart(&kind, end))
        kind.unavailable = kind.program + ": " + reason;
    PoolReaderEnd(pool, reader);
}

void PoolDispatch(ReaderPool *pool, bool wait) {
    DoneEnd(pool);
    if (!wait && MayRest(*pool))
        return;
    FilesHand(pool, true);
    FilesHand(pool, false);
    // A place that was made is for the kind that has none, and not for the one that gave way.
    for (const bool has_one : {false, true}) {
        for (const ReaderKind kind : kKinds) {
            if (KindHasReader(*pool, kind) == has_one)
                ReadersStart(pool, kind);
        }
    }
}
