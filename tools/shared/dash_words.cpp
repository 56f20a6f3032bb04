// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/dash_words.h"

#include <string.h>

#include <algorithm>
#include <string_view>

#include "platform/letters.h"

namespace {

constexpr std::string_view kEndOfOptions = "--";

// What a word is.
enum class Sort {
    word,
    option,            // complete
    option_with_value, // which is the next word
};

Sort SortOfLong(const CommandLine &line, std::string_view word) {
    const std::string_view name = word.substr(kEndOfOptions.size());
    for (const CommandOption &option : line.options) {
        if (option.name != nullptr && name == option.name)
            return option.type != nullptr ? Sort::option_with_value : Sort::option;
    }
    return Sort::option; // or none that there is, which is told
}

Sort SortOfShort(const CommandLine &line, std::string_view word) {
    const std::string_view value = word.substr(2);
    const auto option = std::find_if(line.options.begin(), line.options.end(),
                                     [&](const CommandOption &one) { return one.letter == word[1]; });
    if (option == line.options.end())
        return Sort::word;
    if (value.empty())
        return option->type != nullptr ? Sort::option_with_value : Sort::option;
    const bool number = std::all_of(value.begin(), value.end(), IsDigit);
    return option->type != nullptr && (number || value.front() == '/') ? Sort::option : Sort::word;
}

Sort SortOf(const CommandLine &line, std::string_view word) {
    if (word.size() < 2 || word.front() != '-')
        return Sort::word;
    return word.starts_with(kEndOfOptions) ? SortOfLong(line, word) : SortOfShort(line, word);
}

} // namespace

bool DashesAreWords(const CommandLine &line) {
    return std::any_of(line.arguments.begin(), line.arguments.end(),
                       [](const CommandArgument &argument) { return argument.dashes; });
}

std::vector<char *> WithWordsBehind(const CommandLine &line, const std::vector<char *> &words) {
    static char end_of_options[] = "--";
    std::vector<char *> sorted(words.begin(), words.begin() + 1); // the command itself
    std::vector<char *> behind;
    for (size_t at = 1; at < words.size(); ++at) {
        if (words[at] == kEndOfOptions) {
            behind.insert(behind.end(), words.begin() + static_cast<ptrdiff_t>(at) + 1, words.end());
            break;
        }
        const Sort sort = SortOf(line, words[at]);
        (sort == Sort::word ? behind : sorted).push_back(words[at]);
        if (sort != Sort::option_with_value)
            continue;
        if (at + 1 == words.size()) // its value is missing: nothing may stand behind it
            return sorted;
        sorted.push_back(words[++at]);
    }
    sorted.push_back(end_of_options);
    sorted.insert(sorted.end(), behind.begin(), behind.end());
    return sorted;
}
