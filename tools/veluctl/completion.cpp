// SPDX-License-Identifier: GPL-2.0-or-later
//
// A completion for bash from the table of the command line.
#include "tools/veluctl/documents.h"

namespace {

std::string Joined(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

std::vector<std::string> NamesOf(const CLI::App &app) {
    std::vector<std::string> names;
    for (const CLI::Option *option : app.get_options()) {
        for (const std::string &name : option->get_lnames())
            names.push_back("--" + name);
        for (const std::string &name : option->get_snames())
            names.push_back("-" + name);
    }
    return names;
}

// The branches of a case over the word before the cursor: what an option takes.
std::string ValueBranches(const CLI::App &command) {
    std::string branches;
    for (const CLI::Option *option : command.get_options()) {
        if (!option->nonpositional() || option->get_expected_max() == 0)
            continue;
        std::vector<std::string> names;
        for (const std::string &name : option->get_lnames())
            names.push_back("--" + name);
        for (const std::string &name : option->get_snames())
            names.push_back("-" + name);
        std::string pattern;
        for (const std::string &name : names)
            pattern += (pattern.empty() ? "" : "|") + name;
        const std::vector<std::string> words = OptionWords(*option);
        const std::string type = option->get_type_name();
        std::string reply = "return";
        if (!words.empty())
            reply = "mapfile -t COMPREPLY < <(compgen -W '" + Joined(words) + "' -- \"$word\"); return";
        else if (type == "DIR" || type == "FILE")
            reply = std::string("compopt -o filenames; mapfile -t COMPREPLY < <(compgen -") +
                    (type == "DIR" ? "d" : "f") + " -- \"$word\"); return";
        branches += "        " + pattern + ") " + reply + " ;;\n";
    }
    return branches;
}

// Words for the arguments of a command; none: files.
std::vector<std::string> ArgumentWords(const CLI::App &command) {
    for (const CLI::Option *option : command.get_options()) {
        if (!option->nonpositional() && !OptionWords(*option).empty())
            return OptionWords(*option);
    }
    return {};
}

std::string CommandBranch(const CLI::App &command) {
    std::string text = "    " + command.get_name() + ")\n";
    const std::string values = ValueBranches(command);
    if (!values.empty())
        text += "        case $previous in\n" + values + "        esac\n";
    text += "        options='" + Joined(NamesOf(command)) + "'\n";
    text += "        words='" + Joined(ArgumentWords(command)) + "'\n";
    return text + "        ;;\n";
}

} // namespace

std::string BashCompletion(const CLI::App &app) {
    std::vector<std::string> names;
    std::string branches;
    for (const CLI::App *command : CommandsOf(app)) {
        names.push_back(command->get_name());
        branches += CommandBranch(*command);
    }
    return "# bash completion for veluctl, made by veluctl --completion\n"
           "_veluctl() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} options='' "
           "words=''\n"
           "    COMPREPLY=()\n"
           "    if [ \"$COMP_CWORD\" = 1 ]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W '" +
           Joined(names) + " " + Joined(NamesOf(app)) +
           "' -- \"$word\")\n"
           "        return\n"
           "    fi\n"
           "    case ${COMP_WORDS[1]} in\n" +
           branches +
           "    esac\n"
           "    case $word in\n"
           "    -*) mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\") ;;\n"
           "    *)\n"
           "        if [ -n \"$words\" ]; then\n"
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
