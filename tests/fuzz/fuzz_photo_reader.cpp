// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of photos, from bytes that any format may begin to facts.
#include "reader/readers.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/memory_file.h"

static int Try(const uint8_t *data, size_t size) {
    PhotoReaderWarm();
    const FdHandle file = MemoryFileOpen(data, size);
    ReaderInput input;
    input.fd = file.get();
    input.size = static_cast<int64_t>(size);
    const ContentFormat format = ContentLook(&input);
    if (ContentClassOf(format) != ContentClass::picture)
        return 0;
    FactList facts;
    const ReadOutcome outcome = PhotoFactsRead(&input, format, &facts);
    if (outcome.content != ContentClass::picture ||
        (outcome.status == AnswerStatus::read && !outcome.reason.empty()))
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_photo_reader", Try);
