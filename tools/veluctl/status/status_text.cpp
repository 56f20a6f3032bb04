// SPDX-License-Identifier: GPL-2.0-or-later
#include <stdio.h>

#include "tools/shared/text_wrap.h"
#include "tools/veluctl/moment_text.h"
#include "tools/veluctl/status/status.h"
#include "tools/veluctl/terminal.h"

namespace {

constexpr size_t kNameWidth = 17; // with the blank behind it
constexpr size_t kTextMin = 20;   // on a narrow terminal

} // namespace

void StatusSay(const char *name, const std::string &text) {
    const size_t columns = TerminalColumns(stdout);
    for (const std::string &line :
         TextWrap(text, columns > kNameWidth + kTextMin ? columns - kNameWidth : kTextMin)) {
        printf("%-16s %s\n", name, line.c_str());
        name = "";
    }
}

std::string ProcessText(pid_t pid, time_t since) {
    return "running as process " + std::to_string(pid) + (since != 0 ? " since " + MomentText(since) : "");
}

std::string NotRunningText(const char *command) {
    return std::string("not running; to start: ") + command;
}
