// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/command_line_reader.h"

#include "platform/handle.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>

#include <algorithm>

namespace {

constexpr char kShell[] = "/bin/sh";

// Waiting for the end of a process begins with short sleeps, as most end at once.
constexpr int kFirstSleep = 1; // milliseconds
constexpr int kLongestSleep = 50;

int64_t Now() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

// Starts the shell with `output` as its standard output; it is closed here. The process id, or -1.
pid_t ShellStart(const char *command, FdHandle output) {
    posix_spawnattr_t attributes;
    if (posix_spawnattr_init(&attributes) != 0)
        return -1;
    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0) {
        posix_spawnattr_destroy(&attributes);
        return -1;
    }
    sigset_t all_signals;
    sigset_t no_signals;
    sigfillset(&all_signals);
    sigemptyset(&no_signals);
    // The calls take the words without const for history's sake and do not write to them.
    char *const arguments[] = {const_cast<char *>("sh"), const_cast<char *>("-c"),
                               const_cast<char *>(command), nullptr};
    pid_t child = -1;
    if (posix_spawnattr_setsigdefault(&attributes, &all_signals) != 0 ||
        posix_spawnattr_setsigmask(&attributes, &no_signals) != 0 ||
        posix_spawnattr_setpgroup(&attributes, 0) != 0 ||
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK |
                                                  POSIX_SPAWN_SETPGROUP) != 0 ||
        posix_spawn_file_actions_adddup2(&actions, output.get(), STDOUT_FILENO) != 0 ||
        posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1) != 0 ||
        posix_spawn(&child, kShell, &actions, &attributes, arguments, environ) != 0)
        child = -1;
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return child;
}

// True when the pipe has bytes or has ended, false when the time is over.
bool WaitForBytes(const FdHandle &pipe, int64_t deadline) {
    for (;;) {
        const int64_t rest = deadline - Now();
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
        const ssize_t got = read(pipe.get(), line + length, size - 1 - length);
        if (got < 0 && errno == EINTR)
            continue;
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
        if (Now() >= deadline)
            break;
        poll(nullptr, 0, sleep);
        sleep = std::min(sleep * 2, kLongestSleep);
    }
    kill(-child, SIGKILL);
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace

CommandLine CommandLineRead(const char *command, int time_limit, char *line, size_t size) {
    line[0] = '\0';
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return CommandLine::kNotStarted;
    FdHandle output(ends[0]);
    const int64_t deadline = Now() + time_limit;
    const pid_t child = ShellStart(command, FdHandle(ends[1]));
    if (child < 0)
        return CommandLine::kNotStarted;
    const CommandLine result = LineRead(output, deadline, line, size);
    if (result == CommandLine::kTimedOut)
        line[0] = '\0';
    // A command that has more to say meets a closed pipe, as with pclose.
    output.Close();
    ShellEnd(child, deadline);
    return result;
}
