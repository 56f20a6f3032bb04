// SPDX-License-Identifier: GPL-2.0-or-later
//
// A completion for fish from the table of the command line.
#include "tools/shared/command_value.h"
#include "tools/veluctl/completion_value.h"
#include "tools/veluctl/documents.h"
#include "tools/veluctl/single_quoted.h"

namespace {

std::string FishWord(std::string_view text) {
    return SingleQuoted(text, "\\'", "\\\\");
}

// What may stand in the place of a value, as options of fish's `complete`.
std::string FishValue(Completes completes, const std::string &words) {
    switch (completes) {
    case Completes::words:
    case Completes::beginnings:
        return " -x -a " + FishWord(words);
    case Completes::directories:
        return " -x -a '(__fish_complete_directories)'";
    case Completes::files:
        return " -r -F";
    case Completes::nothing:
        break;
    }
    return " -x";
}

std::string FishOption(const std::string &condition, const CommandOption &option) {
    std::string line = "complete -c veluctl -n " + FishWord(condition);
    if (option.letter != '\0')
        line += std::string(" -s ") + option.letter;
    if (option.name != nullptr)
        line += std::string(" -l ") + option.name;
    if (option.type != nullptr)
        line += FishValue(CompletesOf(option), WordsOf(option));
    return line + " -d " + FishWord(option.description) + "\n";
}

// The words that stand behind the program and are no options.
constexpr char kFishWords[] = "(string match -v -- '-*' (commandline -opc))";
constexpr size_t kProgramAndCommand = 2;

std::string FishArgument(const std::string &condition, const CommandLine &of, size_t at) {
    const CommandArgument &argument = of.arguments[at];
    const auto begin = [](const std::string &when) { return "complete -c veluctl -n " + FishWord(when); };
    if (BeginningsAt(of, at) != nullptr) {
        std::string lines;
        std::string otherwise = condition;
        if (argument.directories_behind != nullptr) {
            const std::string before = "; and test " + std::string(kFishWords) + "[" +
                                       std::to_string(kProgramAndCommand + at) + "] ";
            lines = begin(condition + before + "= " + argument.directories_behind) +
                    " -a '(__fish_complete_directories)'\n";
            otherwise += before + "!= " + argument.directories_behind;
        }
        return lines + begin(otherwise) + " -a " +
               FishWord("(__veluctl_words " + WordsJoined(argument.words) + ")") + " -d " +
               FishWord(argument.description) + "\n";
    }
    const std::string line = begin(condition);
    switch (CompletesOf(argument)) {
    case Completes::words:
    case Completes::beginnings:
        return line + " -a " + FishWord(WordsOf(argument)) + " -d " + FishWord(argument.description) + "\n";
    case Completes::files:
    case Completes::directories:
        return line + " -F\n";
    case Completes::nothing:
        break;
    }
    return {};
}

// The rest of a condition: so many words that are no options stand behind the command.
std::string FishPlace(size_t place, bool and_more) {
    return "; and test (count " + std::string(kFishWords) + ") " + std::string(and_more ? "-ge" : "-eq") +
           " " + std::to_string(kProgramAndCommand + place);
}

// A function that prints its words, what a word may begin with, and the values behind such a beginning.
std::string FishWordsFunction(const Program &program) {
    const CommandArgument *argument = BeginningsOf(program);
    if (argument == nullptr)
        return {};
    std::string branches;
    for (const ValueWords &values : ValuesBehind(*argument)) {
        std::string patterns;
        for (const std::string &beginning : values.beginnings)
            patterns += " '" + beginning + "*'";
        branches += "        case" + patterns + "\n            printf '%s\\n' $front{" +
                    WordsJoined(values.values, ",") + "}\n";
    }
    // Its own words come first; what is typed may be none of them.
    return "function __veluctl_words\n    set -l word (commandline -ct)\n"
           "    set -l front (string match -r '^[^:=]*[:=]' -- $word)\n    switch \"$word\"\n" +
           branches +
           "        case '*'\n            set -l own (string match -- \"$word*\" $argv)\n"
           "            printf '%s\\n' $own\n"
           "            if test -z \"$word\" -o -z \"$own\"\n                printf '%s\\n' " +
           WordsJoined(argument->beginnings) + "\n            end\n    end\nend\n";
}

} // namespace

std::string FishCompletion(const Program &program) {
    std::string text =
        "# fish completion for veluctl, made by veluctl --completion-fish\ncomplete -c veluctl -f\n" +
        FishWordsFunction(program);
    for (const CommandOption &option : program.line.options)
        text += FishOption("__fish_use_subcommand", option);
    for (const ProgramCommand &command : program.commands) {
        text += std::string("complete -c veluctl -n __fish_use_subcommand -a ") + command.name + " -d " +
                FishWord(command.description) + "\n";
        const std::string condition = std::string("__fish_seen_subcommand_from ") + command.name;
        for (const CommandOption &option : command.line.options)
            text += FishOption(condition, option);
        const std::vector<CommandArgument> &arguments = command.line.arguments;
        for (size_t at = 0; at < arguments.size(); ++at)
            text += FishArgument(
                condition + (arguments.size() > 1 ? FishPlace(at, TakesMany(arguments[at].target)) : ""),
                command.line, at);
    }
    return text;
}
