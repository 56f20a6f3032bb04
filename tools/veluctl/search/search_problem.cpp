// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_problem.h"

#include <algorithm>

#include "tools/shared/safe_text.h"

namespace {

constexpr size_t kIndent = 2;
constexpr size_t kBefore = 20; // columns of a longer text that are shown in front of the place

} // namespace

bool SearchWrong(SearchProblem *problem, std::string what, SearchPlace place) {
    *problem = {std::move(what), place};
    return false;
}

std::string SearchMark(std::string_view text, SearchPlace place, size_t columns) {
    const size_t at = std::min(place.at, text.size());
    std::string front = SafeText(text.substr(0, at));
    const std::string marked = SafeText(text.substr(at, place.length));
    const std::string behind = SafeText(text.substr(std::min(at + place.length, text.size())));
    const size_t room = columns - kIndent;
    if (DisplayWidth(front + marked + behind) > room && DisplayWidth(front) > kBefore)
        front = DisplayCutMiddle(front, kBefore);
    const std::string line = DisplayCut(front + marked + behind, room);
    const size_t before = std::min(DisplayWidth(front), room - 1);
    const size_t width = std::clamp<size_t>(DisplayWidth(marked), 1, room - before);
    return std::string(kIndent, ' ') + line + "\n" + std::string(kIndent + before, ' ') +
           std::string(width, '^') + "\n";
}
