// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a shell may offer in the place of a value.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/veluctl/command_line.h"

enum class Completes { nothing, words, beginnings, directories, files };

constexpr Completes CompletesOf(std::string_view type, bool has_words, bool has_beginnings) {
    if (has_words)
        return Completes::words;
    if (has_beginnings)
        return Completes::beginnings;
    if (type == "DIR")
        return Completes::directories;
    for (const std::string_view path : {"PATH", "FILE", "NEW", "OLD"})
        if (type == path)
            return Completes::files;
    return Completes::nothing;
}

inline Completes CompletesOf(const CommandOption &option) {
    return CompletesOf(option.type, !option.words.empty(), !option.beginnings.empty());
}

inline Completes CompletesOf(const CommandArgument &argument) {
    return CompletesOf(argument.type, !argument.words.empty(), !argument.beginnings.empty());
}

// Returns texts one behind the other.
template <typename Words>
std::string WordsJoined(const Words &words, const char *between = " ") {
    std::string text;
    for (const auto &word : words)
        text.append(text.empty() ? "" : between).append(word);
    return text;
}

// Returns the argument whose words may begin at this place: the one that stands here or, where that takes other words than its own
// and may be left out, the next one. Null when there is none.
inline const CommandArgument *BeginningsAt(const CommandLine &line, size_t at) {
    const CommandArgument &here = line.arguments[at];
    const bool leads_on = here.open && !here.required && at + 1 < line.arguments.size();
    const CommandArgument &meant = leads_on ? line.arguments[at + 1] : here;
    return meant.beginnings.empty() ? nullptr : &meant;
}

// Returns the argument by which the words of all commands are completed that begin with something: they have one language. Null when no
// command has any.
inline const CommandArgument *BeginningsOf(const Program &program) {
    for (const ProgramCommand &command : program.commands)
        for (const CommandArgument &argument : command.line.arguments)
            if (!argument.beginnings.empty())
                return &argument;
    return nullptr;
}

// Returns the values that there are behind what the words of an argument begin with.
inline std::vector<ValueWords> ValuesBehind(const CommandArgument &argument) {
    return argument.values != nullptr ? argument.values() : std::vector<ValueWords>();
}

// Returns the words, or what a value may begin with, of an option or argument.
template <typename Place>
std::string WordsOf(const Place &place) {
    return place.words.empty() ? WordsJoined(place.beginnings) : WordsJoined(place.words);
}
