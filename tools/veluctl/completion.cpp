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

// The words for the arguments of a command, by their place; none: files.
std::string ArgumentWords(const CommandLine &line) {
    std::string places;
    for (const CommandArgument &argument : line.arguments)
        places += std::string(places.empty() ? "" : " ") + "'" + WordsJoined(argument.words) + "'";
    return "        words=(" + places + ")\n";
}

// From which place on words may begin with something, and behind which word directories stand there.
std::string BeginningsPlace(const CommandLine &line) {
    for (size_t at = 0; at < line.arguments.size(); ++at) {
        const CommandArgument *argument = BeginningsAt(line, at);
        if (argument == nullptr)
            continue;
        const char *behind = argument->directories_behind;
        return "        from=" + std::to_string(at) + "\n" +
               (behind != nullptr ? std::string("        folders='") + behind + "'\n" : "");
    }
    return {};
}

// The options whose value is the next word.
std::string ValueOptions(const CommandLine &line) {
    std::string names;
    for (const CommandOption &option : line.options) {
        if (option.type != nullptr)
            names.append(names.empty() ? "" : " ").append(WordsJoined(NamesOf(option)));
    }
    return "        valued='" + names + "'\n";
}

std::string CommandBranch(const ProgramCommand &command) {
    std::string text = std::string("    ") + command.name + ")\n";
    const std::string values = ValueBranches(command.line);
    if (!values.empty())
        text += "        case $previous in\n" + values + "        esac\n";
    return text + "        options='" + NamesOf(command.line) + "'\n" + ValueOptions(command.line) +
           BeginningsPlace(command.line) + ArgumentWords(command.line) + "        ;;\n";
}

// A function that prints what a value may begin with, and one that prints the values behind such a beginning.
std::string BeginningsFunctions(const Program &program) {
    const CommandArgument *argument = BeginningsOf(program);
    if (argument == nullptr)
        return {};
    std::string branches;
    for (const ValueWords &values : ValuesBehind(*argument))
        branches +=
            "    " + WordsJoined(values.beginnings, "|") + ") echo '" + WordsJoined(values.values) + "' ;;\n";
    return "_veluctl_begins() {\n    echo '" + WordsJoined(argument->beginnings) +
           "'\n}\n_veluctl_values() {\n    case $1 in\n" + branches + "    esac\n}\n";
}

} // namespace

std::string BashCompletion(const Program &program) {
    std::vector<std::string> names;
    std::string branches;
    for (const ProgramCommand &command : program.commands) {
        names.emplace_back(command.name);
        branches += CommandBranch(command);
    }
    return "# bash completion for veluctl, made by veluctl --completion\n" + BeginningsFunctions(program) +
           "_veluctl() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} at place=0 "
           "from=''\n"
           "    local options='' valued='' words=() typed=() front='' folders=''\n"
           "    COMPREPLY=()\n"
           "    if [ \"$COMP_CWORD\" = 1 ]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W '" +
           WordsJoined(names) + " " + NamesOf(program.line) +
           "' -- \"$word\")\n"
           "        return\n"
           "    fi\n"
           "    case ${COMP_WORDS[1]} in\n" +
           branches +
           "    esac\n"
           "    for ((at = 2; at < COMP_CWORD; ++at)); do\n"
           "        case ${COMP_WORDS[at]} in\n"
           "        -*) ;;\n"
           "        *) case \" $valued \" in *\" ${COMP_WORDS[at - 1]} \"*) ;; *) "
           "typed[place++]=${COMP_WORDS[at]} "
           ";; esac ;;\n"
           "        esac\n"
           "    done\n"
           "    case $word in -*)\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\")\n"
           "        return ;;\n"
           "    esac\n"
           "    if [ -n \"$folders\" ] && [ \"$place\" -ge \"$from\" ] && [ \"${typed[from - 1]}\" = "
           "\"$folders\" ]; "
           "then\n"
           "        compopt -o filenames\n"
           "        mapfile -t COMPREPLY < <(compgen -d -- \"$word\")\n"
           "    elif [ -n \"$from\" ] && [ \"$place\" -ge \"$from\" ]; then\n"
           // The shell takes a word apart at these signs.
           "        case $word in [:=]*) front=$previous${word:0:1} word=${word:1} ;; esac\n"
           "        case $previous in [:=]) front=${COMP_WORDS[COMP_CWORD - 2]}$previous ;; esac\n"
           "        case $previous in [\\<\\>]*) return ;; esac\n"
           "        if [ -n \"$front\" ]; then\n"
           "            mapfile -t COMPREPLY < <(compgen -W \"$(_veluctl_values \"${front#-}\")\" -- "
           "\"$word\")\n"
           "            return\n"
           "        fi\n"
           // Its own words come first; what is typed may be none of them.
           "        mapfile -t COMPREPLY < <(compgen -W \"${words[place]}\" -- \"$word\")\n"
           "        if [ -z \"$word\" ] || [ ${#COMPREPLY[@]} = 0 ]; then\n"
           "            mapfile -t COMPREPLY < <(compgen -W \"${words[place]} $(_veluctl_begins)\" -- "
           "\"$word\")\n"
           "        fi\n"
           "        case ${COMPREPLY[0]} in *[:=]) compopt -o nospace ;; esac\n"
           "    elif [ -n \"${words[place]}\" ]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"${words[place]}\" -- \"$word\")\n"
           "    else\n"
           "        compopt -o filenames\n"
           "        mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n"
           "    fi\n"
           "}\n"
           "complete -F _veluctl veluctl\n";
}
