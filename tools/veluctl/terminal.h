// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is known of the terminal behind a stream.
#pragma once

#include <stdio.h>
#include <sys/ioctl.h>
#include <unistd.h>

inline bool IsTerminal(FILE *out) {
    return isatty(fileno(out)) == 1;
}

// The usual number for what is no terminal or does not know.
inline size_t TerminalColumns(FILE *out) {
    constexpr size_t kUsual = 80;
    winsize size = {};
    return ioctl(fileno(out), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}
