// SPDX-License-Identifier: GPL-2.0-or-later
//
// What readers have to say, and how they end.
#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <new>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "reader/pool/pool_parts.h"

namespace {

// An answer takes no more, so that a longer packet is cut and seen to be.
std::span<std::byte> PacketBuffer() {
    static std::vector<std::byte> buffer(kReaderAnswerSize);
    return buffer;
}

bool HelloTake(PoolReader *reader, std::span<const std::byte> packet) {
    Hello hello;
    if (!HelloDecode(packet, &hello) || hello.kind != reader->kind)
        return false;
    reader->ready = true;
    return true;
}

ReaderKind OtherKind(ReaderKind kind) {
    return kind == ReaderKind::films ? ReaderKind::sound_and_photos : ReaderKind::films;
}

ReaderKind SentTo(AnswerStatus status, ReaderKind kind) {
    if (status == AnswerStatus::films)
        return ReaderKind::films;
    return status == AnswerStatus::sound ? ReaderKind::sound_and_photos : kind;
}

// A file may be sent on once.
void FileSendOn(ReaderPool *pool, PoolFile *file) {
    if (file->sent_on) {
        PoolFileUnread(pool, file, ReadEnd::crashed, "no reader takes it for its own");
        return;
    }
    file->sent_on = true;
    file->file.kind = OtherKind(file->file.kind);
    file->state = PoolFileState::waits;
}

// False when the answer is none.
bool AnswerTake(ReaderPool *pool, PoolReader *reader, std::span<const std::byte> packet) {
    ReadResult read;
    read.end = ReadEnd::answered;
    const PoolHanded handed = reader->handed[0];
    if (reader->handed_count == 0 || !AnswerDecode(packet, &read.answer) ||
        read.answer.number != handed.number)
        return false;
    const ReaderKind kind = SentTo(read.answer.status, reader->kind);
    const FdHandle &slot = reader->process.slots[handed.slot];
    int wanting = 0; // why the picture could not be taken over
    if (read.answer.picture != PictureFormat::none) {
        read.picture = AnswerPictureTake(slot, &read.answer, pool->bytes, &pool->recent, &read.picture_had);
        wanting = read.picture ? 0 : errno;
        if (!read.picture && wanting == 0)
            return false;
    }
    if (!SlotEntriesTake(slot, read.answer.entries_bytes, &read.entries) ||
        (read.answer.status >= AnswerStatus::films && kind == reader->kind))
        return false;
    read.entries.cut = read.answer.entries_cut != 0;
    SlotEmpty(slot);
    reader->answered = true;
    PoolKind &of_kind = PoolKindOf(pool, reader->kind);
    of_kind.failed_starts = of_kind.killed_starts = 0;
    std::shift_left(reader->handed, reader->handed + reader->handed_count, 1);
    if (--reader->handed_count > 0)
        PoolReaderBegins(pool, reader);
    PoolFile *file = PoolFileFind(pool, handed.ticket);
    if (file == nullptr) // given up meanwhile
        return true;
    if (wanting != 0)
        PoolFileUnread(pool, file, ReadEnd::no_reader, strerror(wanting));
    else if (kind != reader->kind)
        FileSendOn(pool, file);
    else
        PoolFileRead(pool, file, std::move(read));
    return true;
}

// Takes what the reader has said. False when the reader was given up for it.
bool PacketsTake(ReaderPool *pool, PoolReader *reader) {
    const std::span<std::byte> buffer = PacketBuffer();
    // What it says without having been asked is found by the next look at the connection.
    do {
        const ssize_t size = PacketReceive(reader->process.socket.get(), buffer, nullptr, 0, MSG_DONTWAIT);
        if (size < 0 && errno == EAGAIN)
            return true;
        if (size < 0 && errno == ECONNRESET) // it ended with files unread; its answers come behind that
            continue;
        if (size == 0 || (size < 0 && errno != EPROTO)) {
            reader->hung_up = true; // how it ended is told in a moment
            reader->next_look = MonotonicMilliseconds() + pool->bounds.look_milliseconds;
            return true;
        }
        const std::span<const std::byte> packet = buffer.first(size > 0 ? static_cast<size_t>(size) : 0);
        if (reader->ready ? !AnswerTake(pool, reader, packet) : !HelloTake(reader, packet)) {
            PoolReaderGiveUp(pool, reader, ReadEnd::crashed, kPoolLies);
            return false;
        }
    } while (reader->handed_count > 0);
    return true;
}

struct ReaderEnd {
    ReadEnd end;
    std::string reason;
};

// Why it ended by itself; `ready`: it had begun to read.
ReaderEnd ReaderExitOf(bool ready, int status) {
    constexpr int kNotLinked = 127; // the dynamic linker's
    if (status == kReaderOutOfMemory && ready)
        return {ReadEnd::memory, kPoolTooMuchMemory};
    if (status == kReaderOutOfMemory)
        return {ReadEnd::crashed, "memory ran out when it started"};
    if (status == kReaderUnconfined && !ready)
        return {ReadEnd::crashed,
                "it reads nothing without a system call filter, which the kernel does not have "
                "or what the daemon runs in forbids"};
    if (status == kNotLinked && !ready)
        return {ReadEnd::crashed, "a library that it needs cannot be loaded"};
    return {ReadEnd::crashed, "its reader ended with status " + std::to_string(status)};
}

ReaderEnd ReaderEndOf(const PoolReader &reader, int status) {
    if (!WIFSIGNALED(status))
        return ReaderExitOf(reader.ready, WEXITSTATUS(status));
    const char *name = sigabbrev_np(WTERMSIG(status));
    return {WTERMSIG(status) == SIGKILL ? ReadEnd::killed : ReadEnd::crashed,
            "its reader ended by signal " + std::to_string(WTERMSIG(status)) +
                (name != nullptr ? std::string(" (SIG") + name + ")" : std::string())};
}

void ReaderEnded(ReaderPool *pool, PoolReader *reader) {
    int status = 0;
    if (!ReaderProcessReap(&reader->process, &status))
        return;
    const ReaderEnd end = ReaderEndOf(*reader, status);
    PoolReaderGiveUp(pool, reader, end.end, end.reason);
}

void PoolPoll(ReaderPool *pool, int milliseconds) {
    std::vector<pollfd> &asked = pool->asked;
    asked.clear();
    for (const PoolReader &reader : pool->readers) {
        asked.push_back({reader.hung_up ? -1 : reader.process.socket.get(), POLLIN, 0});
        asked.push_back({reader.process.alive.get(), POLLIN, 0});
    }
    for (const ReaderProcess &process : pool->ending)
        asked.push_back({process.alive.get(), POLLIN, 0});
    if (poll(asked.data(), asked.size(), milliseconds) <= 0)
        return;
    // From behind, because readers that end are taken out.
    for (size_t i = pool->readers.size(); i-- > 0;) {
        PoolReader *reader = &pool->readers[i];
        const bool ended = asked[2 * i + 1].revents != 0;
        // What it said last may have come between the two looks.
        const bool said = asked[2 * i].revents != 0 || (ended && !reader->hung_up);
        if ((!said || PacketsTake(pool, reader)) && ended)
            ReaderEnded(pool, reader);
    }
    ReaderPoolReap(pool);
}

} // namespace

void ReaderPoolServe(ReaderPool *pool, bool wait) {
    try {
        PoolDispatch(pool, wait);
        PoolPoll(pool, wait ? std::max(PoolNextLook(*pool), 0) : 0);
        PoolWatch(pool);
        PoolDispatch(pool, wait);
    } catch (const std::bad_alloc &) {
        ReaderPoolEnd(pool);
        throw;
    }
}
