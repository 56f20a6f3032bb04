// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of photos, from bytes that any format may begin to facts.
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/reader_file.h"

static int Try(const uint8_t *data, size_t size) {
    PhotoReaderWarm();
    ReaderFile file(data, size);
    const ContentFormat format = ContentLook(&file.input);
    if (ContentClassOf(format) != ContentClass::picture)
        return 0;
    FactList facts;
    const ReadOutcome outcome = PhotoFactsRead(&file.input, format, &facts);
    if (outcome.content != ContentClass::picture ||
        (outcome.status == AnswerStatus::read && !outcome.reason.empty()))
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_photo_reader", Try);
