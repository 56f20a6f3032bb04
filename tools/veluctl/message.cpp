// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/message.h"

#include <stdint.h>
#include <stdio.h>

#include <algorithm>

#include "tools/shared/safe_text.h"
#include "tools/shared/text_wrap.h"
#include "tools/veluctl/terminal.h"

namespace {

constexpr size_t kColumnsMin = 20; // what a terminal says that is hardly one

} // namespace

ExitCode Complain(ExitCode code, const std::string &text) {
    // A terminal has an edge; a line in a pipe stays whole.
    const size_t width = IsTerminal(stderr) ? std::max(TerminalColumns(stderr), kColumnsMin) : SIZE_MAX;
    for (const std::string &line : TextWrap("veluctl: " + SafeTextOn(text, stderr), width))
        fprintf(stderr, "%s\n", line.c_str());
    return code;
}

void CommandTell(const std::string &command) {
    fprintf(stderr, "  %s\n", command.c_str());
}

std::string Quoted(std::string_view path) {
    return "'" + SafeText(path) + "'";
}

std::string Counted(long long count, const char *one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}
