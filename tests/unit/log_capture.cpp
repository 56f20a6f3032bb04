// SPDX-License-Identifier: GPL-2.0-or-later
#include "tests/unit/log_capture.h"

#include <regex.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <syslog.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

namespace {

// What the tests log until they take it; more is lost, and a test then misses its line.
constexpr size_t kCapacity = size_t{4} << 20;

// Shared with the processes that a test forks, so that their lines are kept too. Each line is its priority,
// its length and its text; memory that was never written is zero.
struct Capture {
    std::atomic<size_t> used;
    char bytes[kCapacity];
};

Capture *CaptureMap() {
    void *memory = mmap(nullptr, sizeof(Capture), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED ? static_cast<Capture *>(memory) : nullptr;
}

Capture *const capture = CaptureMap();

struct LineHead {
    int priority;
    int length;
};

void LineKeep(int priority, const char *format, va_list arguments) {
    char text[16384];
    const int wanted = vsnprintf(text, sizeof text, format, arguments);
    const LineHead head = {priority, std::clamp(wanted, 0, static_cast<int>(sizeof text) - 1)};
    const size_t size = sizeof head + static_cast<size_t>(head.length);
    const size_t at = capture->used.fetch_add(size);
    if (at > kCapacity || size > kCapacity - at)
        return;
    memcpy(capture->bytes + at, &head, sizeof head);
    memcpy(capture->bytes + at + sizeof head, text, static_cast<size_t>(head.length));
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
    std::vector<LogLine> lines;
    const size_t used = std::min(capture->used.exchange(0), kCapacity);
    for (size_t at = 0; used - at >= sizeof(LineHead);) {
        LineHead head;
        memcpy(&head, capture->bytes + at, sizeof head);
        at += sizeof head;
        const size_t length = std::min(static_cast<size_t>(head.length), used - at);
        lines.push_back({head.priority, std::string(capture->bytes + at, length)});
        at += length;
    }
    return lines;
}

std::vector<std::string> LogTakeTexts() {
    // The C library's expressions: those of the standard library take a second to compile.
    static const regex_t number = [] {
        regex_t compiled;
        if (regcomp(&compiled, "^([a-z0-9_]+\\.c)( \\(|:|\\()[0-9]+\\)?", REG_EXTENDED) != 0)
            abort();
        return compiled;
    }();
    std::vector<std::string> texts;
    for (LogLine &line : LogTake()) {
        regmatch_t matched[2]; // the whole, and the file's name
        if (regexec(&number, line.text.c_str(), std::size(matched), matched, 0) == 0)
            line.text = line.text.substr(0, static_cast<size_t>(matched[1].rm_eo)) + "#" +
                        line.text.substr(static_cast<size_t>(matched[0].rm_eo));
        texts.push_back(std::move(line.text));
    }
    return texts;
}
