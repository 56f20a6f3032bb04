// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/command_line.h"

#include <getopt.h>
#include <string.h>

#include <algorithm>
#include <string_view>

#include "tools/shared/command_value.h"
#include "tools/shared/dash_words.h"
#include "tools/shared/near_name.h"

namespace {

constexpr int kLongNames = 256; // codes of getopt_long above those of letters
constexpr int kArgument = 1;    // its code of an argument in its place
constexpr size_t kNone = SIZE_MAX;

// What getopt_long is told of a table.
struct Names {
    std::string letters;
    std::vector<option> longs;
};

Names NamesOf(const CommandLine &line, bool to_command) {
    // "-": arguments come in their order, "+": the first one ends the options; ":": what is missing is told apart.
    Names names = {to_command ? "+:" : "-:", {}};
    for (size_t at = 0; at < line.options.size(); ++at) {
        const CommandOption &one = line.options[at];
        if (one.letter != '\0')
            names.letters.append(1, one.letter).append(one.type != nullptr ? ":" : "");
        if (one.name != nullptr)
            names.longs.push_back({one.name, one.type != nullptr ? required_argument : no_argument, nullptr,
                                   kLongNames + static_cast<int>(at)});
    }
    names.longs.push_back({nullptr, 0, nullptr, 0});
    return names;
}

// The number of the option with a code of getopt_long, or kNone.
size_t OptionOf(const CommandLine &line, int code) {
    if (code >= kLongNames)
        return static_cast<size_t>(code - kLongNames);
    const auto found = std::find_if(line.options.begin(), line.options.end(), [&](const CommandOption &one) {
        return one.letter != '\0' && one.letter == code;
    });
    return found != line.options.end() ? static_cast<size_t>(found - line.options.begin()) : kNone;
}

// getopt_long takes the beginning of a name for the whole name. That is refused here: a later option may
// begin the same.
bool IsWhole(const char *word, const char *name) {
    const size_t length = strlen(name);
    return strncmp(word, "--", 2) == 0 && strncmp(word + 2, name, length) == 0 &&
           (word[2 + length] == '\0' || word[2 + length] == '=');
}

std::string Missing(const CommandOption &one) {
    return NameOf(one) + ": 1 required " + TypeText(one.type, one.words) + " missing";
}

// The sentence about an option, with its dashes, that the table does not have.
std::string NoSuchOption(const CommandLine &line, std::string_view word) {
    constexpr std::string_view kDashes = "--";
    if (!word.starts_with(kDashes))
        return NotExpected(word);
    std::vector<const char *> names;
    for (const CommandOption &one : line.options) {
        if (one.name != nullptr)
            names.push_back(one.name);
    }
    const std::string_view name = word.substr(kDashes.size(), word.find('=') - kDashes.size());
    return NotExpected(word) + MeantHint(name, names, kDashes.data());
}

// The state of reading one command line.
struct Reading {
    const CommandLine &line;
    std::vector<int> seen; // how often each option
    size_t arguments = 0;  // taken
};

std::string OptionTake(Reading *reading, size_t at, const char *value) {
    const CommandOption &one = reading->line.options[at];
    if (++reading->seen[at] > 1 && one.type != nullptr && !TakesMany(one.target))
        return NameOf(one) + ": At Most 1 required but received 2";
    // An empty value mostly comes from a shell variable that is not set.
    if (one.type != nullptr && *value == '\0')
        return Missing(one);
    return ValueTake(one.target, NameOf(one), value, one.words);
}

std::string ArgumentTake(Reading *reading, const char *value) {
    const std::vector<CommandArgument> &arguments = reading->line.arguments;
    if (arguments.empty())
        return NotExpected(value);
    const size_t at = std::min(reading->arguments++, arguments.size() - 1);
    if (at + 1 < reading->arguments && !TakesMany(arguments[at].target))
        return NotExpected(value);
    const CommandArgument &taken = arguments[at];
    return ValueTake(taken.target, taken.name, value, taken.open ? std::vector<const char *>() : taken.words);
}

// The words that there are, behind a sentence; nothing where there are any.
std::string OneOf(const std::vector<const char *> &words) {
    std::string text;
    for (const char *word : words)
        text.append(text.empty() ? ": " : word == words.back() ? " or " : ", ").append(word);
    return text;
}

// Returns what is missing or too much among all options and arguments.
std::string Together(const Reading &reading) {
    const auto is_there = [&](const char *name) {
        for (size_t at = 0; at < reading.seen.size(); ++at) {
            const char *other = reading.line.options[at].name;
            if (reading.seen[at] > 0 && other != nullptr && strcmp(other, name) == 0)
                return true;
        }
        return false;
    };
    for (size_t at = reading.arguments; at < reading.line.arguments.size(); ++at) {
        if (reading.line.arguments[at].required)
            return std::string(reading.line.arguments[at].name) + " is required" +
                   OneOf(reading.line.arguments[at].words);
    }
    for (size_t at = 0; at < reading.seen.size(); ++at) {
        const CommandOption &one = reading.line.options[at];
        if (reading.seen[at] > 0 && one.needs != nullptr && !is_there(one.needs))
            return NameOf(one) + " requires --" + one.needs;
        if (reading.seen[at] > 0 && one.excludes != nullptr && is_there(one.excludes))
            return NameOf(one) + " excludes --" + one.excludes;
    }
    return {};
}

// What getopt_long found wrong with the word that it has read last.
std::string Wrong(const CommandLine &line, int code, const char *word) {
    const size_t at = optopt != 0 ? OptionOf(line, optopt) : kNone;
    if (code == ':' && at != kNone)
        return Missing(line.options[at]);
    if (at != kNone && optopt >= kLongNames)
        return NameOf(line.options[at]) + " takes no value";
    return NoSuchOption(line, optopt != 0 ? std::string("-") + static_cast<char>(optopt) : word);
}

bool IsHelp(const CommandOption &option) {
    const auto *flag = std::get_if<bool *>(&option.target);
    return flag != nullptr && *flag == nullptr;
}

// Takes what getopt_long has found.
CommandLineResult FoundTake(Reading *reading, int code, char **argv, std::string *error) {
    const char *word = argv[optind - 1];
    const size_t at = code == '?' || code == ':' ? kNone : OptionOf(reading->line, code);
    if (code == kArgument) {
        *error = ArgumentTake(reading, optarg);
    } else if (at == kNone) {
        *error = Wrong(reading->line, code, word);
    } else {
        const CommandOption &one = reading->line.options[at];
        const char *named = optarg == word ? argv[optind - 2] : word; // in front of a value of its own
        if (code >= kLongNames && !IsWhole(named, one.name))
            *error = NoSuchOption(reading->line, named);
        else if (IsHelp(one))
            return CommandLineResult::help;
        else
            *error = OptionTake(reading, at, optarg != nullptr ? optarg : "");
    }
    return error->empty() ? CommandLineResult::done : CommandLineResult::wrong;
}

// Reads up to the end of the options, which is at `optind`.
CommandLineResult OptionsTake(Reading *reading, int argc, char **argv, bool to_command, std::string *error) {
    const Names names = NamesOf(reading->line, to_command);
    opterr = 0;
    optind = 0; // begins anew, also behind another table
    CommandLineResult result = CommandLineResult::done;
    while (result == CommandLineResult::done) {
        const int code = getopt_long(argc, argv, names.letters.c_str(), names.longs.data(), nullptr);
        if (code == -1)
            break;
        result = FoundTake(reading, code, argv, error);
    }
    return result;
}

} // namespace

std::string NotExpected(std::string_view word) {
    return "The following argument was not expected: " + std::string(word);
}

std::string NameOf(const CommandOption &option) {
    return option.name != nullptr ? std::string("--") + option.name : std::string("-") + option.letter;
}

CommandLineResult CommandLineRead(const CommandLine &line, int argc, char **argv, std::string *error) {
    std::vector<char *> sorted;
    if (DashesAreWords(line)) {
        sorted = WithWordsBehind(line, {argv, argv + argc});
        argc = static_cast<int>(sorted.size());
        sorted.push_back(nullptr);
        argv = sorted.data();
    }
    Reading reading{line, std::vector<int>(line.options.size()), 0};
    const CommandLineResult result = OptionsTake(&reading, argc, argv, false, error);
    if (result != CommandLineResult::done)
        return result;
    for (; optind < argc && error->empty(); ++optind)
        *error = ArgumentTake(&reading, argv[optind]);
    if (error->empty())
        *error = Together(reading);
    return error->empty() ? CommandLineResult::done : CommandLineResult::wrong;
}

CommandLineResult CommandLineReadToCommand(const CommandLine &line, int argc, char **argv, int *command,
                                           std::string *error) {
    Reading reading{line, std::vector<int>(line.options.size()), 0};
    const CommandLineResult result = OptionsTake(&reading, argc, argv, true, error);
    *command = optind;
    return result;
}
