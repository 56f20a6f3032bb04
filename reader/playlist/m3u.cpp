// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/playlist/formats.h"
#include "reader/playlist/lines.h"
#include "reader/protocol/charset.h"

namespace {

constexpr std::string_view kTitle = "#PLAYLIST:";
constexpr std::string_view kEncoding = "#EXTENC:";

void DirectiveTake(std::string_view line, PlaylistOut *out) {
    if (BeginsWithWord(line, kTitle))
        PlaylistFactAdd(out, FactName::title, line.substr(kTitle.size()));
    if (!BeginsWithWord(line, kEncoding))
        return;
    if (const Charset *charset = CharsetFind(WithoutEnds(line.substr(kEncoding.size()), kBlanks));
        charset != nullptr)
        out->charset = charset->name;
}

} // namespace

void M3uRead(std::string_view text, PlaylistOut *out) {
    std::string_view line;
    while (LineTake(&text, &line)) {
        if (line.starts_with('#'))
            DirectiveTake(line, out);
        else
            PlaylistEntryAdd(out, line);
    }
}
