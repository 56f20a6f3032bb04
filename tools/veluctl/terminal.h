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

// Returns how many columns a terminal has; the usual number for anything else, and for a terminal that does
// not say.
inline size_t TerminalColumns(FILE *out) {
    constexpr size_t kUsual = 80;
    winsize size = {};
    return ioctl(fileno(out), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}
