// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/help_text.h"

#include "tools/shared/command_value.h"
#include "tools/shared/text_wrap.h"

namespace {

constexpr size_t kMeaningColumn = 30;
constexpr size_t kEntryIndent = 2;

std::string EntryText(const std::string &name, const std::string &meaning) {
    std::string text = std::string(kEntryIndent, ' ') + name;
    if (text.size() >= kMeaningColumn)
        text.append("\n").append(kMeaningColumn, ' ');
    else
        text.append(kMeaningColumn - text.size(), ' ');
    return text + meaning + "\n";
}

// Meanings may be longer than a line.
std::string EntryTextInLines(const std::string &name, const std::string &meaning) {
    std::string text;
    for (const std::string &line : TextWrap(meaning, kHelpColumns - kMeaningColumn))
        text += text.empty() ? EntryText(name, line) : std::string(kMeaningColumn, ' ') + line + "\n";
    return text;
}

std::string ListText(const HelpList &list) {
    if (list.entries.empty())
        return {};
    std::string text = "\n" + list.heading + ":\n";
    for (const auto &[name, meaning] : list.entries)
        text += EntryTextInLines(name, meaning);
    return text;
}

using Words = std::vector<const char *>;

std::string HeadOf(const CommandOption &option, const Words &words) {
    std::string text;
    if (option.letter != '\0')
        text.append("-").append(1, option.letter).append(option.name != nullptr ? "," : "");
    if (option.name != nullptr)
        text.append("--").append(option.name);
    if (option.type != nullptr)
        text += " " + TypeText(option.type, words);
    if (TakesMany(option.target))
        text += " ...";
    if (option.needs != nullptr)
        text.append(" Needs: --").append(option.needs);
    if (option.excludes != nullptr)
        text.append(" Excludes: --").append(option.excludes);
    return text;
}

std::string HeadOf(const CommandArgument &argument, const Words &words) {
    return argument.name + (" " + TypeText(argument.type, words)) +
           (TakesMany(argument.target) ? " ..." : "") + (argument.required ? " REQUIRED" : "");
}

// The entry of an option or argument. Words that a line has no room for stand with the meaning.
template <typename Place>
std::pair<std::string, std::string> EntryOf(const Place &place) {
    const std::string head = HeadOf(place, place.words);
    if (kEntryIndent + head.size() <= kHelpColumns)
        return {head, place.description};
    std::string meaning = place.description;
    for (const char *word : place.words)
        meaning.append(word == place.words.front() ? ": " : ", ").append(word);
    return {HeadOf(place, {}), meaning};
}

} // namespace

std::string HelpText(const HelpHead &head, const CommandLine &line, const std::vector<HelpList> &more,
                     const std::string &footer) {
    std::string text;
    for (const std::string &wrapped : TextWrap(head.description, kHelpColumns))
        text += wrapped + "\n";
    text.append("Usage: ").append(head.name).append(" [OPTIONS]").append(head.behind);
    HelpList arguments = {"Positionals", {}};
    for (const CommandArgument &argument : line.arguments) {
        const std::string name = std::string(argument.name) + (TakesMany(argument.target) ? "..." : "");
        text += argument.required ? " " + name : " [" + name + "]";
        arguments.entries.push_back(EntryOf(argument));
    }
    HelpList options = {"Options", {}};
    for (const CommandOption &option : line.options)
        options.entries.push_back(EntryOf(option));
    text += "\n" + ListText(arguments) + ListText(options);
    for (const HelpList &list : more)
        text += ListText(list);
    return text + (footer.empty() ? "" : "\n" + footer);
}
