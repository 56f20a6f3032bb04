// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of films. libavformat itself is not built for the fuzzer, which finds its way by this project's own code.
#include <sys/mman.h>

#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/reader_file.h"

static int Try(const uint8_t *data, size_t size) {
    static const int slot = [] {
        FilmReaderWarm();
        return memfd_create("picture", MFD_CLOEXEC);
    }();
    for (const ContentFormat format : {ContentFormat::film, ContentFormat::midi}) {
        ReaderFile file(data, size);
        PictureSink picture;
        picture.fd = slot;
        picture.wanted = true;
        FactList facts;
        const ReadOutcome outcome = FilmFactsRead(&file.input, format, &facts, &picture);
        // A file that is read is of one kind, and one that is not says why.
        if ((outcome.status == AnswerStatus::read) != (outcome.content != ContentClass::unknown) ||
            (outcome.status != AnswerStatus::read) != !outcome.reason.empty())
            abort();
    }
    return 0;
}

static const FuzzTarget kTarget("fuzz_film", Try);
