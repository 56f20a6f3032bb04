// SPDX-License-Identifier: GPL-2.0-or-later
//
// A completion for zsh from the table of the command line: words for its function _arguments.
#include "tools/shared/command_value.h"
#include "tools/veluctl/completion_value.h"
#include "tools/veluctl/documents.h"
#include "tools/veluctl/single_quoted.h"

namespace {

std::string ZshWord(std::string_view text) {
    return SingleQuoted(text, "'\\''", "\\");
}

// A description within a word for _arguments, whose parts are set apart by colons and brackets.
std::string ZshText(std::string_view text) {
    std::string safe;
    for (const char byte : text) {
        if (byte == ':' || byte == '[' || byte == ']' || byte == '\\')
            safe += '\\';
        safe += byte;
    }
    return safe;
}

// What may stand in the place of a value.
std::string ZshAction(Completes completes, const std::string &words) {
    switch (completes) {
    case Completes::words:
        return "(" + words + ")";
    case Completes::beginnings:
        return "{compadd -S \"\" -- " + words + "}"; // nothing behind it
    case Completes::directories:
        return "_files -/";
    case Completes::files:
        return "_files";
    case Completes::nothing:
        break;
    }
    return " ";
}

std::vector<std::string> ZshNames(const CommandOption &option) {
    std::vector<std::string> names;
    if (option.letter != '\0')
        names.push_back(std::string("-") + option.letter);
    if (option.name != nullptr)
        names.push_back(std::string("--") + option.name);
    return names;
}

// An option that is there, or one that excludes it, is not offered again, unless it takes several values.
std::string ZshOption(const CommandOption &option) {
    const std::vector<std::string> names = ZshNames(option);
    const bool many = option.type != nullptr && TakesMany(option.target);
    std::string excluded = many ? "" : WordsJoined(names);
    if (option.excludes != nullptr)
        excluded.append(excluded.empty() ? "--" : " --").append(option.excludes);
    const std::string before = (many ? "*" : "") + (excluded.empty() ? "" : "(" + excluded + ")");
    std::string behind = "[" + ZshText(option.description) + "]";
    if (option.type != nullptr)
        behind += ":" + ZshText(option.type) + ":" + ZshAction(CompletesOf(option), WordsOf(option));
    std::string words;
    for (const std::string &name : names) {
        const char *value = option.type == nullptr ? "" : name.starts_with("--") ? "=" : "+";
        words += " \\\n            " + ZshWord(before + name + value + behind);
    }
    return words;
}

// Offers words in a language of their own or, behind the word that says so, directories.
std::string ZshWords(const CommandArgument &argument, const std::string &own, size_t at) {
    const std::string words = "_veluctl_words " + own;
    const char *behind = argument.directories_behind;
    if (behind == nullptr)
        return "{" + words + "}";
    return "{if [[ $line[" + std::to_string(at) + "] = " + behind + " ]]; then _files -/; else " + words +
           "; fi}";
}

std::string ZshArgument(const CommandLine &line, size_t at) {
    const CommandArgument &argument = line.arguments[at];
    const std::string place = TakesMany(argument.target) ? "*" : std::to_string(at + 1);
    // Of one that may be left out the shell would offer what may stand behind it, too; words that there are come first.
    const bool alone = argument.required || !argument.words.empty();
    const std::string action = BeginningsAt(line, at) != nullptr
                                   ? ZshWords(argument, WordsJoined(argument.words), at)
                                   : ZshAction(CompletesOf(argument), WordsOf(argument));
    return " \\\n            " +
           ZshWord(place + (alone ? ":" : "::") + ZshText(argument.type) + ":" + action);
}

// A function that offers its words, what a word may begin with, and the values behind such a beginning.
std::string ZshWordsFunction(const Program &program) {
    const CommandArgument *argument = BeginningsOf(program);
    if (argument == nullptr)
        return {};
    std::string branches;
    for (const ValueWords &values : ValuesBehind(*argument)) {
        branches += "    (" + WordsJoined(values.beginnings, "|") + ")*)\n" +
                    "        compset -P '[^:=]#[:=]'\n        compadd -- " + WordsJoined(values.values) +
                    " ;;\n";
    }
    // Its own words come first; what is typed may be none of them.
    return "_veluctl_words() {\n    setopt localoptions extendedglob\n    case $PREFIX in\n" + branches +
           "    *)\n        (( $# )) && compadd -- \"$@\" && [[ -n $PREFIX ]] && return\n"
           "        compadd -S '' -- " +
           WordsJoined(argument->beginnings) + " ;;\n    esac\n}\n";
}

std::string ZshArguments(const CommandLine &line) {
    std::string text = "_arguments -s -S";
    for (const CommandOption &option : line.options)
        text += ZshOption(option);
    for (size_t at = 0; at < line.arguments.size(); ++at)
        text += ZshArgument(line, at);
    return text;
}

} // namespace

std::string ZshCompletion(const Program &program) {
    std::string names;
    std::string branches;
    for (const ProgramCommand &command : program.commands) {
        names += "        " + ZshWord(std::string(command.name) + ":" + ZshText(command.description)) + "\n";
        branches += std::string("        ") + command.name + ")\n            " + ZshArguments(command.line) +
                    "\n            ;;\n";
    }
    std::string options;
    for (const CommandOption &option : program.line.options)
        options += ZshOption(option);
    return "#compdef veluctl\n"
           "# zsh completion for veluctl, made by veluctl --completion-zsh\n" +
           ZshWordsFunction(program) +
           "_veluctl() {\n"
           "    local curcontext=\"$curcontext\" state line ret=1\n"
           "    local -a commands\n"
           "    commands=(\n" +
           names +
           "    )\n"
           "    _arguments -C -S" +
           options +
           " \\\n            '1:command:->command' '*::argument:->argument' && ret=0\n"
           "    case $state in\n"
           "    command) _describe -t commands command commands && ret=0 ;;\n"
           "    argument)\n"
           "        case $words[1] in\n" +
           branches +
           "        esac && ret=0\n"
           "        ;;\n"
           "    esac\n"
           "    return ret\n"
           "}\n"
           "_veluctl \"$@\"\n";
}
