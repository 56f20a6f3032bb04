// SPDX-License-Identifier: GPL-2.0-or-later
//
// A completion for bash from the table of the command line.
#include "tools/veluctl/completion_value.h"
#include "tools/veluctl/documents.h"

namespace {

std::vector<std::string> NamesOf(const CommandOption &option) {
    std::vector<std::string> names;
    if (option.name != nullptr)
        names.push_back(std::string("--") + option.name);
    if (option.letter != '\0')
        names.push_back(std::string("-") + option.letter);
    return names;
}

std::string NamesOf(const CommandLine &line) {
    std::vector<std::string> names;
    for (const CommandOption &option : line.options)
        names.push_back(WordsJoined(NamesOf(option)));
    return WordsJoined(names);
}

// What stands for an option's value in the completion.
std::string ValueReply(const CommandOption &option) {
    switch (CompletesOf(option)) {
    case Completes::words:
        return "mapfile -t COMPREPLY < <(compgen -W '" + WordsJoined(option.words) +
               "' -- \"$word\"); return";
    case Completes::beginnings:
        return "local last=${word##*[,-]}; compopt -o nospace; mapfile -t COMPREPLY < <(compgen -P "
               "\"${word%\"$last\"}\" -W '" +
               WordsJoined(option.beginnings) + "' -- \"$last\"); return";
    case Completes::directories:
        return "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- \"$word\"); return";
    case Completes::files:
        return "compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$word\"); return";
    case Completes::nothing:
        break;
    }
    return "return";
}

// The branches of a case over the word before the cursor: what an option takes.
std::string ValueBranches(const CommandLine &line) {
    std::string branches;
    for (const CommandOption &option : line.options) {
        if (option.type != nullptr)
            branches += "        " + WordsJoined(NamesOf(option), "|") + ") " + ValueReply(option) + " ;;\n";
    }
    return branches;
}

// The words for the arguments of a command, by their place where there are several; none: files.
std::string ArgumentWords(const CommandLine &line) {
    std::string places;
    for (size_t at = 0; at < line.arguments.size(); ++at)
        places += " " + std::to_string(at) + ") words='" + WordsJoined(line.arguments[at].words) + "' ;;";
    if (line.arguments.size() > 1)
        return "        case $place in" + places + " *) words='' ;; esac\n";
    return "        words='" + (line.arguments.empty() ? "" : WordsJoined(line.arguments[0].words)) + "'\n";
}

// What the arguments of a command may begin with.
std::string ArgumentBeginnings(const CommandLine &line) {
    for (const CommandArgument &argument : line.arguments) {
        if (!argument.beginnings.empty())
            return WordsJoined(argument.beginnings);
    }
    return {};
}

std::string CommandBranch(const ProgramCommand &command) {
    std::string text = std::string("    ") + command.name + ")\n";
    const std::string values = ValueBranches(command.line);
    if (!values.empty())
        text += "        case $previous in\n" + values + "        esac\n";
    text += "        options='" + NamesOf(command.line) + "'\n";
    const std::string beginnings = ArgumentBeginnings(command.line);
    if (!beginnings.empty())
        text += "        begins='" + beginnings + "'\n";
    return text + ArgumentWords(command.line) + "        ;;\n";
}

} // namespace

std::string BashCompletion(const Program &program) {
    std::vector<std::string> names;
    std::string branches;
    for (const ProgramCommand &command : program.commands) {
        names.emplace_back(command.name);
        branches += CommandBranch(command);
    }
    return "# bash completion for veluctl, made by veluctl --completion\n"
           "_veluctl() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} options='' "
           "words='' begins='' place=0 at\n"
           "    COMPREPLY=()\n"
           "    if [ \"$COMP_CWORD\" = 1 ]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W '" +
           WordsJoined(names) + " " + NamesOf(program.line) +
           "' -- \"$word\")\n"
           "        return\n"
           "    fi\n"
           "    for ((at = 2; at < COMP_CWORD; ++at)); do\n"
           "        case ${COMP_WORDS[at]} in -*) ;; *) ((++place)) ;; esac\n"
           "    done\n"
           "    case ${COMP_WORDS[1]} in\n" +
           branches +
           "    esac\n"
           "    case $word in\n"
           "    -*) mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\") ;;\n"
           "    *)\n"
           "        if [ -n \"$begins\" ]; then\n"
           "            case $word in [:=]) previous=$word word='' ;; esac\n"
           "            case $previous in\n"
           "            :) mapfile -t COMPREPLY < <(compgen -W \"${begins//=/}\" -- \"$word\") ;;\n"
           "            [=\\<\\>]) ;;\n"
           "            *)\n"
           "                compopt -o nospace\n"
           "                mapfile -t COMPREPLY < <(compgen -W \"$begins\" -- \"$word\")\n"
           "                ;;\n"
           "            esac\n"
           "        elif [ -n \"$words\" ]; then\n"
           "            mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
           "        else\n"
           "            compopt -o filenames\n"
           "            mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n"
           "        fi\n"
           "        ;;\n"
           "    esac\n"
           "}\n"
           "complete -F _veluctl veluctl\n";
}
