// SPDX-License-Identifier: GPL-2.0-or-later
//
// A path may hold anything, blanks as well. In brackets it ends with them; else behind its extension, or at a blank.
#include "tools/veluctl/log/log_groups.h"

#include <ctype.h>

#include <algorithm>
#include <map>
#include <string_view>

#include "platform/letters.h"

namespace {

constexpr size_t kExtensionMax = 5;
constexpr char kDots[] = "...";

bool IsWord(char byte) {
    return isalnum(static_cast<unsigned char>(byte)) != 0;
}

// Where a path that begins at `begin` ends.
size_t PathEnd(const std::string &text, size_t begin) {
    const size_t last = text.rfind('/');
    for (size_t dot = text.find('.', last); dot != std::string::npos; dot = text.find('.', dot + 1)) {
        size_t end = dot + 1;
        while (end < text.size() && end - dot <= kExtensionMax && IsWord(text[end]))
            ++end;
        const bool is_end = end == text.size() || std::string(" :,;)]").find(text[end]) != std::string::npos;
        if (end > dot + 1 && is_end)
            return end;
    }
    size_t end = std::min(text.find_first_of(" ])", std::max(last, begin)), text.size());
    while (end > begin + 1 && std::string_view(".,:;").find(text[end - 1]) != std::string_view::npos)
        --end; // of the sentence
    return end;
}

std::string NumbersOut(const std::string &text) {
    std::string without;
    for (size_t at = 0; at < text.size(); ++at) {
        if (!IsDigit(text[at]) || (at > 0 && IsWord(text[at - 1]) && !IsDigit(text[at - 1])))
            without += text[at];
        else if (at == 0 || !IsDigit(text[at - 1]))
            without += 'N';
    }
    return without;
}

} // namespace

LogParts LogPartsOf(const std::string &text) {
    size_t begin = text.find('/');
    // Only what stands at a word's begin is a path.
    while (begin != std::string::npos && begin > 0 && IsWord(text[begin - 1]))
        begin = text.find('/', begin + 1);
    if (begin == std::string::npos)
        return {NumbersOut(text), {}};
    const bool in_brackets = begin > 0 && text[begin - 1] == '[' && text.rfind(']') != std::string::npos;
    const size_t end = in_brackets && text.rfind(']') > begin ? text.rfind(']') : PathEnd(text, begin);
    return {NumbersOut(text.substr(0, begin)) + kDots + NumbersOut(text.substr(end)),
            text.substr(begin, end - begin)};
}

std::vector<LogGroup> LogGroupsOf(const std::vector<LoggedLine> &lines) {
    std::vector<LogGroup> groups;
    std::map<std::string, size_t> known;
    for (size_t at = 0; at < lines.size(); ++at) {
        const std::string says = LogPartsOf(lines[at].text).says;
        const auto [group, first] = known.try_emplace(says, groups.size());
        if (first)
            groups.push_back({lines[at].text});
        else
            groups[group->second].text = says;
        groups[group->second].lines.push_back(at);
    }
    return groups;
}
