// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/message.h"

#include <stdio.h>

#include "tools/shared/safe_text.h"

ExitCode Complain(ExitCode code, const std::string &text) {
    fprintf(stderr, "veluctl: %s\n", text.c_str());
    return code;
}

std::string Quoted(std::string_view path) {
    return "'" + SafeText(path) + "'";
}

std::string Counted(long long count, const char *one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}
