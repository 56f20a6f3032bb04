// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/log_lines.h"

#include <stdarg.h>
#include <stdio.h>
#include <syslog.h>

#include <algorithm>
#include <utility>

#include "tools/veluctl/log/log_place.h"

namespace {

// A path and the words around it fit.
constexpr size_t kLineMax = 16384;

// A hostile file may have its reader complain without an end.
constexpr size_t kLinesMax = 1000;

std::vector<std::string> &Lines() {
    static std::vector<std::string> lines;
    return lines;
}

[[gnu::format(printf, 1, 0)]] void LineKeep(const char *format, va_list arguments) {
    if (Lines().size() >= kLinesMax)
        return;
    char text[kLineMax];
    const int wanted = vsnprintf(text, sizeof text, format, arguments);
    const auto length = static_cast<size_t>(std::clamp(wanted, 0, static_cast<int>(sizeof text) - 1));
    Lines().emplace_back(LogWithoutPlace({text, length}));
}

} // namespace

// They stand in for the C library's functions of these names, which the linker then leaves out; fortified
// code calls the second.
extern "C" {

void syslog(int, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    LineKeep(format, arguments);
    va_end(arguments);
}

[[gnu::format(printf, 3, 4)]] void __syslog_chk(int, int, const char *format, ...);

void __syslog_chk(int, int, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    LineKeep(format, arguments);
    va_end(arguments);
}
}

std::vector<std::string> LogLinesTake() {
    return std::exchange(Lines(), {});
}

std::string LogReasonTake() {
    std::string reason;
    for (const std::string &line : LogLinesTake())
        reason.append(reason.empty() ? "" : "; ").append(line);
    return reason.empty() ? "no reason was given" : reason;
}
