// SPDX-License-Identifier: GPL-2.0-or-later
#include <stdio.h>

#include <algorithm>

#include "tools/shared/help_text.h"
#include "tools/shared/text_wrap.h"
#include "tools/veluctl/documents.h"

namespace {

std::string ExitCodesHelp() {
    std::string text = "Exit codes:\n";
    for (const ExitCodeText &code : kExitCodes) {
        std::string front = "  " + std::to_string(code.code) + "  ";
        for (const std::string &line : TextWrap(code.meaning, kHelpColumns - front.size())) {
            text += front + line + "\n";
            front.assign(front.size(), ' ');
        }
    }
    return text + "\n";
}

std::string ExamplesHelp(const ProgramCommand &command) {
    std::string text = command.examples.empty() ? "" : "Examples:\n";
    for (const CommandExample &example : command.examples)
        text.append("  ").append(example.line).append("\n      ").append(example.meaning).append("\n");
    return command.examples.empty() ? text : text + "\n";
}

} // namespace

std::string ProgramHelp(const Program &program) {
    std::vector<HelpList> groups;
    for (const ProgramCommand &command : program.commands) {
        if (groups.empty() || groups.back().heading != command.group)
            groups.push_back({command.group, {}});
        groups.back().entries.emplace_back(command.name, command.description);
    }
    return HelpText({program.description, program.name, " [SUBCOMMAND]"}, program.line, groups,
                    ExitCodesHelp());
}

std::string CommandHelp(const Program &program, const ProgramCommand &command) {
    return HelpText({command.description, std::string(program.name) + " " + command.name, ""}, command.line,
                    command.details, ExamplesHelp(command) + ExitCodesHelp());
}

ExitCode HelpCommand(const Options &options) {
    ProgramOptions asked;
    Options none;
    const Program program = ProgramMake(&asked, &none);
    const auto command = std::ranges::find(program.commands, options.what,
                                           [](const ProgramCommand &one) { return std::string(one.name); });
    const std::string text =
        command != program.commands.end() ? CommandHelp(program, *command) : ProgramHelp(program);
    fputs(text.c_str(), stdout);
    return kDone;
}
