// SPDX-License-Identifier: GPL-2.0-or-later
#include <charconv>
#include <vector>

#include "reader/playlist/formats.h"
#include "reader/playlist/lines.h"

namespace {

struct Numbered {
    uint32_t number;
    std::string_view value;
};

// Takes "File12=..." and "Ref12=...".
bool NumberedTake(std::string_view line, Numbered *entry) {
    line = WithoutFirst(line, kBlanks);
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos)
        return false;
    const std::string_view key = WithoutEnds(line.substr(0, equals), kBlanks);
    for (const std::string_view word : {"File", "Ref"}) {
        if (!BeginsWithWord(key, word))
            continue;
        const char *end = key.data() + key.size();
        const auto [behind, error] = std::from_chars(key.data() + word.size(), end, entry->number);
        entry->value = WithoutEnds(line.substr(equals + 1), kBlanks);
        return error == std::errc() && behind == end;
    }
    return false;
}

} // namespace

void PlsRead(std::string_view text, PlaylistOut *out) {
    std::vector<Numbered> entries;
    std::string_view line;
    Numbered entry = {};
    while (LineTake(&text, &line)) {
        if (NumberedTake(line, &entry))
            entries.push_back(entry);
    }
    // Players go by the numbers; who has written a list may not.
    std::ranges::stable_sort(entries, {}, &Numbered::number);
    for (const Numbered &of : entries)
        PlaylistEntryAdd(out, of.value);
}
