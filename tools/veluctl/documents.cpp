// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/documents.h"

#include "tools/veluctl/exit_code.h"

std::string ExitCodesHelp() {
    std::string text = "Exit codes:\n";
    for (const ExitCodeText &code : kExitCodes)
        text += "  " + std::to_string(code.code) + "  " + code.meaning + "\n";
    return text;
}

std::vector<std::string> OptionWords(const CLI::Option &option) {
    // The check of an option is described as "{one,two}" behind its type.
    const std::string type = option.get_type_name();
    const size_t begin = type.find('{');
    std::vector<std::string> words;
    if (begin == std::string::npos)
        return words;
    for (const std::string &word :
         CLI::detail::split(type.substr(begin + 1, type.find('}') - begin - 1), ','))
        words.push_back(word);
    return words;
}

std::vector<const CLI::App *> CommandsOf(const CLI::App &app) {
    std::vector<const CLI::App *> commands;
    for (const CLI::App *command :
         app.get_subcommands([](const CLI::App *one) { return !one->get_group().empty(); }))
        commands.push_back(command);
    return commands;
}
