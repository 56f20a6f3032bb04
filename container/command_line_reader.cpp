// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/command_line_reader.h"

#include "container/command_keeper.h"
#include "platform/clock.h"
#include "platform/file.h"

#include <fcntl.h>
#include <string.h>

namespace {

CommandAnswer LineRead(const FdHandle &pipe, int64_t deadline, char *line, size_t size) {
    size_t length = 0;
    while (length < size - 1) {
        if (!WaitForBytes(pipe, deadline))
            return CommandAnswer::kTimedOut;
        const ssize_t got = FileReadSome(pipe, line + length, size - 1 - length);
        if (got <= 0)
            break;
        const void *newline = memchr(line + length, '\n', static_cast<size_t>(got));
        length += static_cast<size_t>(got);
        if (newline != nullptr) {
            length = static_cast<size_t>(static_cast<const char *>(newline) - line) + 1;
            break;
        }
    }
    line[length] = '\0';
    return length > 0 ? CommandAnswer::kRead : CommandAnswer::kNone;
}

} // namespace

CommandAnswer CommandLineRead(const char *command, int time_limit, char *line, size_t size) {
    line[0] = '\0';
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return CommandAnswer::kNotStarted;
    FdHandle output(ends[0]);
    FdHandle input(ends[1]);
    const int64_t deadline = MonotonicMilliseconds() + time_limit;
    CommandKeeper keeper;
    if (!CommandKeeperStart(command, input, &keeper))
        return CommandAnswer::kNotStarted;
    input.Close();
    const CommandAnswer result = LineRead(output, deadline, line, size);
    if (result == CommandAnswer::kTimedOut)
        line[0] = '\0';
    // A command that goes on writing meets a closed pipe, as with pclose.
    output.Close();
    return CommandKeeperEnd(&keeper, deadline) ? result : CommandAnswer::kNotStarted;
}
