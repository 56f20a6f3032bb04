// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of playlists: the first byte says which extension the rest has. What it has found is believed.

#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/reader_file.h"

static int Try(const uint8_t *data, size_t size) {
    constexpr const char *kExtensions[] = {"m3u", "pls", "xspf", "wpl", "asx", "cue"};
    if (size == 0)
        return 0;
    ReaderFile file(data + 1, size - 1);
    file.input.extension = kExtensions[data[0] % std::size(kExtensions)];
    file.input.charset = "CP1251";
    FactList facts;
    EntryList entries;
    PlaylistReaderWarm();
    const ReadOutcome outcome = PlaylistEntriesRead(&file.input, &facts, &entries);
    EntryList believed;
    if (outcome.status != AnswerStatus::read || !EntriesDecode(entries.packed, &believed) ||
        believed.count != entries.count)
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_playlist", Try);
