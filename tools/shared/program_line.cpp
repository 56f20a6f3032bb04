// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/program_line.h"

#include <stdio.h>

#include "tools/shared/safe_text.h"

ProgramLine ProgramLineRead(const HelpHead &head, const CommandLine &line, int argc, char **argv) {
    std::string error;
    switch (CommandLineRead(line, argc, argv, &error)) {
    case CommandLineResult::help:
        fputs(HelpText(head, line, {}, {}).c_str(), stdout);
        return ProgramLine::done;
    case CommandLineResult::wrong:
        return ProgramLineWrong(head, error);
    case CommandLineResult::done:
        break;
    }
    return ProgramLine::run;
}

ProgramLine ProgramLineWrong(const HelpHead &head, const std::string &what) {
    fprintf(stderr, "%s: %s\nTry \"%s --help\".\n", head.name.c_str(), SafeText(what).c_str(),
            head.name.c_str());
    return ProgramLine::wrong;
}
