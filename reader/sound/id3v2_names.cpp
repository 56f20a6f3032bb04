// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/id3v2_names.h"

#include <algorithm>

namespace {

struct Successor {
    std::string_view old; // of version 2.2
    std::string_view name;
};

constexpr Successor kSuccessors[] = {
    {"COM", "COMM"}, {"PIC", "APIC"}, {"RVA", "RVAD"}, {"TAL", "TALB"}, {"TBP", "TBPM"}, {"TCM", "TCOM"},
    {"TCO", "TCON"}, {"TCP", "TCMP"}, {"TDA", "TDAT"}, {"TIM", "TIME"}, {"TLA", "TLAN"}, {"TOR", "TORY"},
    {"TP1", "TPE1"}, {"TP2", "TPE2"}, {"TP3", "TPE3"}, {"TPA", "TPOS"}, {"TPB", "TPUB"}, {"TRC", "TSRC"},
    {"TRK", "TRCK"}, {"TSA", "TSOA"}, {"TSP", "TSOP"}, {"TST", "TSOT"}, {"TT2", "TIT2"}, {"TXT", "TEXT"},
    {"TXX", "TXXX"}, {"TYE", "TYER"}, {"UFI", "UFID"}, {"ULT", "USLT"},
};

bool IsNameCharacter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= '0' && character <= '9');
}

} // namespace

std::string Id3NameOf(std::string_view name) {
    // Some writers of version 2.3 fill names of 2.2 with a NUL or a blank.
    if (name.size() == 4 && (name[3] == '\0' || name[3] == ' '))
        name.remove_suffix(1);
    if (!std::ranges::all_of(name, IsNameCharacter))
        return {};
    if (name.size() == 4)
        return std::string(name);
    const auto *found = std::ranges::find(kSuccessors, name, &Successor::old);
    return found != std::end(kSuccessors) ? std::string(found->name) : std::string();
}
