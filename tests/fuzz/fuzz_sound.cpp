// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of sound: the first byte says which format the rest is.

#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/reader_file.h"

static int Try(const uint8_t *data, size_t size) {
    constexpr auto kFirst = static_cast<unsigned>(ContentFormat::mpeg_audio);
    constexpr auto kFormats = static_cast<unsigned>(ContentFormat::dsdiff) - kFirst + 1;
    if (size == 0)
        return 0;
    static const int slot = memfd_create("picture", MFD_CLOEXEC);
    ReaderFile file(data + 1, size - 1);
    file.input.charset = "CP1251";
    PictureSink picture;
    picture.fd = slot;
    picture.wanted = true;
    FactList facts;
    SoundReaderWarm();
    const ReadOutcome outcome = SoundFactsRead(
        &file.input, static_cast<ContentFormat>(kFirst + data[0] % kFormats), &facts, &picture);
    if ((outcome.status == AnswerStatus::read) != outcome.reason.empty() ||
        facts.facts.size() > kReaderFactsMax)
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_sound", Try);
