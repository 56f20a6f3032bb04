// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of films. libavformat itself is not built for the fuzzer, which finds its way by this project's own code.
#include <sys/mman.h>

#include "reader/readers.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/memory_file.h"

static int Try(const uint8_t *data, size_t size) {
    static const int slot = [] {
        FilmReaderWarm();
        return memfd_create("picture", MFD_CLOEXEC);
    }();
    const FdHandle file = MemoryFileOpen(data, size);
    for (const ContentFormat format : {ContentFormat::film, ContentFormat::midi}) {
        ReaderInput input;
        input.fd = file.get();
        input.size = static_cast<int64_t>(size);
        PictureSink picture;
        picture.fd = slot;
        picture.wanted = true;
        FactList facts;
        const ReadOutcome outcome = FilmFactsRead(&input, format, &facts, &picture);
        // A file that is read is of one kind, and one that is not says why.
        if ((outcome.status == AnswerStatus::read) != (outcome.content != ContentClass::unknown) ||
            (outcome.status != AnswerStatus::read) != !outcome.reason.empty())
            abort();
    }
    return 0;
}

static const FuzzTarget kTarget("fuzz_film", Try);
