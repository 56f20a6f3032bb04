// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/playlist/formats.h"
#include "reader/playlist/lines.h"

namespace {

struct Command {
    std::string_view word;
    FactName fact;
};

// What stands in front of the first file is about all of them.
constexpr Command kOfAll[] = {
    {"TITLE", FactName::title},     {"PERFORMER", FactName::artist}, {"SONGWRITER", FactName::composer},
    {"REM GENRE", FactName::genre}, {"REM DATE", FactName::date},
};

// What stands behind a command's word; false when the line has another.
bool CommandTake(std::string_view line, std::string_view word, std::string_view *rest) {
    if (!BeginsWithWord(line, word) || kBlanks.find(line.substr(word.size(), 1)) == std::string_view::npos)
        return false;
    *rest = WithoutEnds(line.substr(word.size()), kBlanks);
    return true;
}

std::string_view Unquoted(std::string_view text) {
    if (!text.starts_with('"'))
        return text;
    text.remove_prefix(1);
    return text.substr(0, text.rfind('"'));
}

// The name, which a word for the file's type follows.
std::string_view FileName(std::string_view rest) {
    if (rest.starts_with('"'))
        return Unquoted(rest);
    const size_t type = rest.find_last_of(kBlanks);
    return WithoutEnds(rest.substr(0, type), kBlanks);
}

} // namespace

void CueRead(std::string_view text, PlaylistOut *out) {
    std::string_view line;
    bool in_file = false;
    while (LineTake(&text, &line)) {
        line = WithoutFirst(line, kBlanks);
        std::string_view rest;
        if (CommandTake(line, "FILE", &rest)) {
            in_file = true;
            PlaylistEntryAdd(out, FileName(rest));
        }
        for (const Command &command : kOfAll) {
            if (!in_file && CommandTake(line, command.word, &rest))
                PlaylistFactAdd(out, command.fact, Unquoted(rest));
        }
    }
}
