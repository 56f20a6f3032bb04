// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl: asks the daemon for work and shows what it has catalogued.
#include <stdio.h>

#include <exception>
#include <iostream>

#include "tools/shared/safe_text.h"
#include "tools/veluctl/command_line.h"
#include "tools/veluctl/documents.h"
#include "tools/veluctl/message.h"

namespace {

// What the command line turned out to ask for.
struct Asked {
    Options options;
    Command command = nullptr;
    bool manual = false;
    bool completion = false;
};

ExitCode CommandLineRun(int argc, char **argv) {
    Asked asked;
    CLI::App app("ask the media-indexing daemon for work and look at its catalogue", "veluctl");
    app.set_version_flag("--version", "veluctl " VELU_VERSION, "Print the version");
    app.add_flag("--man", asked.manual, "Print the manual page (man veluctl shows it)");
    app.add_flag("--completion", asked.completion, "Print the completion for bash");
    app.footer(ExitCodesHelp());
    CommandLineMake(&app, &asked.options, [&](Command command) { asked.command = command; });
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        // Help and version come here too.
        return app.exit(error, std::cout, std::cerr) == 0 ? kDone : kUsage;
    }
    if (asked.manual || asked.completion) {
        fputs((asked.manual ? ManualPage(app) : BashCompletion(app)).c_str(), stdout);
        return kDone;
    }
    if (asked.command == nullptr) {
        fputs(app.help().c_str(), stderr);
        return kUsage;
    }
    return asked.command(asked.options);
}

} // namespace

int main(int argc, char **argv) {
    SafeTextPrepare();
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
