// SPDX-License-Identifier: GPL-2.0-or-later
//
// Readers that take long. Nobody asks about one that answers within a second.
#include <algorithm>
#include <string>

#include "platform/clock.h"
#include "reader/pool/pool_parts.h"

namespace {

void FileWatch(ReaderPool *pool, PoolReader *reader, int64_t now) {
    const ReaderBounds &bounds = pool->bounds;
    if (ReaderProcessorTime(reader->process) - reader->processor_since >= bounds.processor_milliseconds)
        PoolReaderGiveUp(pool, reader, ReadEnd::processor_time, "it takes too much processor time");
    else if (ReaderResidentBytes(reader->process) >= bounds.resident_bytes)
        PoolReaderGiveUp(pool, reader, ReadEnd::memory, kPoolTooMuchMemory);
    else if (now - reader->since >= bounds.milliseconds)
        PoolReaderGiveUp(pool, reader, ReadEnd::clock, "it takes too long");
    else
        reader->next_look = std::min(now + bounds.look_milliseconds, reader->since + bounds.milliseconds);
}

} // namespace

void PoolWatch(ReaderPool *pool) {
    const int64_t now = MonotonicMilliseconds();
    for (size_t i = pool->readers.size(); i-- > 0;) {
        PoolReader *reader = &pool->readers[i];
        if (!PoolReaderWorks(*reader) || now < reader->next_look)
            continue;
        if (reader->hung_up) // and did not end
            PoolReaderGiveUp(pool, reader, ReadEnd::crashed, kPoolLies);
        else if (reader->ready)
            FileWatch(pool, reader, now);
        else
            PoolReaderGiveUp(pool, reader, ReadEnd::crashed, "it takes too long to start");
    }
}

int PoolNextLook(const ReaderPool &pool) {
    int64_t next = -1;
    for (const PoolReader &reader : pool.readers) {
        if (PoolReaderWorks(reader))
            next = next < 0 ? reader.next_look : std::min(next, reader.next_look);
    }
    return next < 0 ? -1 : static_cast<int>(std::max<int64_t>(next - MonotonicMilliseconds(), 0));
}
