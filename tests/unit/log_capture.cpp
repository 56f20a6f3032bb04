// SPDX-License-Identifier: GPL-2.0-or-later
#include "tests/unit/log_capture.h"

#include <stdarg.h>
#include <stdio.h>
#include <syslog.h>

#include <regex>
#include <utility>

namespace {

std::vector<LogLine> lines;

void LineKeep(int priority, const char *format, va_list arguments) {
    char text[16384];
    vsnprintf(text, sizeof text, format, arguments);
    lines.push_back({priority, text});
}

} // namespace

// They stand in for the C library's functions of these names, which the linker then leaves out; fortified
// code calls the second.
extern "C" {

void syslog(int priority, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    LineKeep(priority, format, arguments);
    va_end(arguments);
}

void __syslog_chk(int priority, int, const char *format, ...);

void __syslog_chk(int priority, int, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    LineKeep(priority, format, arguments);
    va_end(arguments);
}
}

std::vector<LogLine> LogTake() {
    return std::exchange(lines, {});
}

std::vector<std::string> LogTakeTexts() {
    static const std::regex number("^([a-z0-9_]+\\.c)( \\(|:|\\()[0-9]+\\)?");
    std::vector<std::string> texts;
    for (const LogLine &line : LogTake())
        texts.push_back(std::regex_replace(line.text, number, "$1#"));
    return texts;
}
