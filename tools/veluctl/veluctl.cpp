// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl: asks the daemon for work and shows what it has catalogued.
#include <stdio.h>
#include <string.h>

#include <exception>

#include "platform/rule_set.h"
#include "tools/shared/command_line.h"
#include "tools/shared/near_name.h"
#include "tools/shared/safe_text.h"
#include "tools/veluctl/documents.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/terminal.h"

namespace {

ExitCode Misused(const std::string &reason) {
    fprintf(stderr, "%s\nRun with --help for more information.\n",
            SafeTextOn(SafeText(reason), stderr).c_str());
    return kUsage;
}

ExitCode Print(const std::string &text) {
    fputs(text.c_str(), stdout);
    return kDone;
}

ExitCode CommandRun(const Program &program, const ProgramCommand &command, int argc, char **argv,
                    const Options &options) {
    std::string error;
    const CommandLineResult result = CommandLineRead(command.line, argc, argv, &error);
    if (result == CommandLineResult::help)
        return Print(CommandHelp(program, command));
    if (result == CommandLineResult::wrong)
        return Misused(error);
    RuleSetFollow(); // what a path is to the daemon, and which files have rows
    return command.run(options);
}

std::string NoSuchCommand(const Program &program, const char *word) {
    std::vector<const char *> names;
    for (const ProgramCommand &command : program.commands)
        names.push_back(command.name);
    return NotExpected(word) + MeantHint(word, names);
}

ExitCode CommandLineRun(int argc, char **argv) {
    ProgramOptions asked;
    Options options;
    const Program program = ProgramMake(&asked, &options);
    std::string error;
    int at = 0;
    const CommandLineResult result = CommandLineReadToCommand(program.line, argc, argv, &at, &error);
    if (result == CommandLineResult::wrong)
        return Misused(error);
    if (result == CommandLineResult::help)
        return Print(ProgramHelp(program));
    if (asked.version)
        return Print("veluctl " VELU_VERSION "\n");
    if (asked.manual)
        return Print(ManualPage(program));
    if (asked.completion)
        return Print(BashCompletion(program));
    if (asked.completion_zsh)
        return Print(ZshCompletion(program));
    if (asked.completion_fish)
        return Print(FishCompletion(program));
    if (at == argc) {
        fputs(ProgramHelp(program).c_str(), stderr);
        return kUsage;
    }
    for (const ProgramCommand &command : program.commands) {
        if (strcmp(command.name, argv[at]) == 0)
            return CommandRun(program, command, argc - at, argv + at, options);
    }
    return Misused(NoSuchCommand(program, argv[at]));
}

} // namespace

int main(int argc, char **argv) {
    SafeTextPrepare(IsTerminal(stdout));
    ExitCode code = kFailed;
    try {
        code = CommandLineRun(argc, argv);
    } catch (const std::exception &problem) {
        Complain(kFailed, problem.what());
    }
    // What was too large for the buffer has failed already and leaves nothing to flush.
    if (fflush(stdout) != 0 || ferror(stdout) != 0)
        return Complain(kFailed, "the answer could not be written");
    return code;
}
