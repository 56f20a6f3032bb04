// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/command_line_reader.h"

#include "platform/clock.h"
#include "platform/file.h"
#include "platform/sdk/program.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/wait.h>

#include <algorithm>

namespace {

constexpr char kShell[] = "/bin/sh";

// Waiting for the end of a process begins with short sleeps, as most end at once.
constexpr int kFirstSleep = 1; // milliseconds
constexpr int kLongestSleep = 50;

// Starts the shell with `output` as its standard output; it is closed here. The process id, or -1.
pid_t ShellStart(const char *command, FdHandle output) {
    const char *const arguments[] = {"sh", "-c", command, nullptr};
    return ProgramStart(kShell, arguments, {.output = output.get(), .own_group = true});
}

// True when the pipe has bytes or has ended, false when the time is over.
bool WaitForBytes(const FdHandle &pipe, int64_t deadline) {
    for (;;) {
        const int64_t rest = deadline - MonotonicMilliseconds();
        if (rest <= 0)
            return false;
        pollfd wait = {.fd = pipe.get(), .events = POLLIN, .revents = 0};
        const int ready = poll(&wait, 1, static_cast<int>(rest));
        if (ready > 0)
            return true;
        if (ready < 0 && errno != EINTR)
            return false;
    }
}

CommandLine LineRead(const FdHandle &pipe, int64_t deadline, char *line, size_t size) {
    size_t length = 0;
    while (length < size - 1) {
        if (!WaitForBytes(pipe, deadline))
            return CommandLine::kTimedOut;
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
    return length > 0 ? CommandLine::kRead : CommandLine::kNone;
}

// Waits for the end of the shell; when the time is over it and all that it started are killed.
void ShellEnd(pid_t child, int64_t deadline) {
    int sleep = kFirstSleep;
    for (;;) {
        const pid_t ended = waitpid(child, nullptr, WNOHANG);
        if (ended == child || (ended < 0 && errno != EINTR))
            return;
        if (MonotonicMilliseconds() >= deadline)
            break;
        poll(nullptr, 0, sleep);
        sleep = std::min(sleep * 2, kLongestSleep);
    }
    kill(-child, SIGKILL);
    ProgramWait(child);
}

} // namespace

CommandLine CommandLineRead(const char *command, int time_limit, char *line, size_t size) {
    line[0] = '\0';
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return CommandLine::kNotStarted;
    FdHandle output(ends[0]);
    const int64_t deadline = MonotonicMilliseconds() + time_limit;
    const pid_t child = ShellStart(command, FdHandle(ends[1]));
    if (child < 0)
        return CommandLine::kNotStarted;
    const CommandLine result = LineRead(output, deadline, line, size);
    if (result == CommandLine::kTimedOut)
        line[0] = '\0';
    // A command that goes on writing meets a closed pipe, as with pclose.
    output.Close();
    ShellEnd(child, deadline);
    return result;
}
