// SPDX-License-Identifier: GPL-2.0-or-later
//
// The first line of a shell command, and the end of all that the command has started.
#include "container/command_line_reader.h"

#include "platform/handle.h"
#include "tests/unit/child_process.h"
#include "tests/unit/test_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <time.h>

#include <string>

namespace {

double Seconds() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

constexpr char kSleeper[] = "/tmp/sleeper";

// The process whose number the command has written to kSleeper has ended, soon.
void ExpectSleeperEnded(const std::string &after) {
    const pid_t sleeper = atoi(FileRead(kSleeper).c_str());
    EXPECT_GT(sleeper, 0) << after;
    EXPECT_TRUE(ProcessEnds(sleeper)) << after;
    unlink(kSleeper);
}

TEST(CommandLineReader, GivesTheFirstLineOnly) {
    char line[16];
    EXPECT_EQ(CommandLineRead("echo one; echo two", 10'000, line, sizeof line), CommandAnswer::kRead);
    EXPECT_STREQ(line, "one\n");
    EXPECT_EQ(CommandLineRead("printf end", 10'000, line, sizeof line), CommandAnswer::kRead);
    EXPECT_STREQ(line, "end");
    EXPECT_EQ(CommandLineRead("true", 10'000, line, sizeof line), CommandAnswer::kNone);
    EXPECT_STREQ(line, "");
    EXPECT_EQ(CommandLineRead("echo 12345678901234567890", 10'000, line, sizeof line), CommandAnswer::kRead);
    EXPECT_STREQ(line, "123456789012345");
    EXPECT_EQ(CommandLineRead("printf a; sleep 0.1; echo b", 10'000, line, sizeof line),
              CommandAnswer::kRead);
    EXPECT_STREQ(line, "ab\n");
}

TEST(CommandLineReader, OutputWithoutEndEndsWithItsReader) {
    char line[16];
    EXPECT_EQ(CommandLineRead("yes", 60'000, line, sizeof line), CommandAnswer::kRead);
    EXPECT_STREQ(line, "y\n");
}

TEST(CommandLineReader, ACommandThatHangsIsKilledWithAllItStarted) {
    char line[16];
    const double start = Seconds();
    EXPECT_EQ(CommandLineRead("sleep 60 & echo $! > /tmp/sleeper; sleep 60", 1'000, line, sizeof line),
              CommandAnswer::kTimedOut);
    EXPECT_EQ(CommandLineRead("echo one; exec >&-; sleep 60", 1'000, line, sizeof line),
              CommandAnswer::kRead);
    EXPECT_STREQ(line, "one\n");
    EXPECT_LT(Seconds() - start, 20);
    ExpectSleeperEnded("the time");
}

// Whether it still writes to the pipe or not, in the command's group or in a session of its own.
TEST(CommandLineReader, WhatTheShellHasLeftBehindIsKilled) {
    char line[16];
    const double start = Seconds();
    for (const std::string sleeper : {"sleep 60", "setsid sleep 60", "sh -c 'sleep 60; true'"}) {
        EXPECT_EQ(CommandLineRead((sleeper + " & echo $! > /tmp/sleeper").c_str(), 1'000, line, sizeof line),
                  CommandAnswer::kTimedOut);
        ExpectSleeperEnded(sleeper);
        EXPECT_EQ(CommandLineRead((sleeper + " > /dev/null & echo $! > /tmp/sleeper; echo one").c_str(),
                                  30'000, line, sizeof line),
                  CommandAnswer::kRead);
        EXPECT_STREQ(line, "one\n");
        ExpectSleeperEnded(sleeper);
    }
    EXPECT_LT(Seconds() - start, 20);
}

TEST(CommandLineReader, ALineOfWhatTheShellHasLeftBehindIsAwaited) {
    char line[16];
    EXPECT_EQ(CommandLineRead("(sleep 0.2; echo late) &", 10'000, line, sizeof line), CommandAnswer::kRead);
    EXPECT_STREQ(line, "late\n");
}

TEST(CommandLineReader, ACommandEndsWithTheDaemon) {
    for (const std::string sleeper : {"sleep 60", "setsid sleep 60"}) {
        for (const int signal_number : {SIGKILL, SIGTERM}) {
            const pid_t daemon = ChildStart([&sleeper] {
                char line[16];
                CommandLineRead(
                    (sleeper + " & echo $! > /tmp/half; mv /tmp/half /tmp/sleeper; sleep 60").c_str(), 60'000,
                    line, sizeof line);
                return 0;
            });
            while (access(kSleeper, F_OK) != 0)
                usleep(1000);
            kill(daemon, signal_number);
            ChildStatus(daemon);
            ExpectSleeperEnded(sleeper);
        }
    }
}

// The shell's parent is the keeper.
TEST(CommandLineReader, ACommandWhoseKeeperIsKilledEndsWithTheTime) {
    const int status = ChildRunStatus([] {
        char line[16];
        return CommandLineRead("sleep 60 & echo $! > /tmp/sleeper; kill -KILL $PPID; sleep 60", 500, line,
                               sizeof line) == CommandAnswer::kTimedOut
                   ? 0
                   : 1;
    });
    EXPECT_EQ(status, 0);
    ExpectSleeperEnded("the keeper");
}

TEST(CommandLineReader, WithoutAProcessNothingIsStarted) {
    const int status = ChildRunStatus([] {
        const rlimit none = {};
        if (setrlimit(RLIMIT_NPROC, &none) != 0 || setuid(65534) != 0) // root has no such limit
            return 2;
        char line[16] = "before";
        return CommandLineRead("echo one", 10'000, line, sizeof line) == CommandAnswer::kNotStarted &&
                       line[0] == '\0'
                   ? 0
                   : 1;
    });
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(CommandLineReader, WithoutAShellNothingIsStarted) {
    const int status = ChildRunStatus([] {
        if (unshare(CLONE_NEWNS) != 0 || mount("/dev/null", "/bin/sh", nullptr, MS_BIND, nullptr) != 0)
            return 2;
        char line[16];
        return CommandLineRead("echo one", 10'000, line, sizeof line) == CommandAnswer::kNotStarted ? 0 : 1;
    });
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(CommandLineReader, TheCommandHasNothingOfTheDaemon) {
    const FdHandle inherited(open("/dev/null", O_RDONLY));
    signal(SIGUSR1, SIG_IGN);
    char line[16];
    // Its streams, and what ls reads the directory by. Above the standard signals are two of the C library's own.
    EXPECT_EQ(CommandLineRead("echo $(ls /proc/self/fd | wc -l) "
                              "$(grep -c 'Sig\\(Blk\\|Ign\\):.*[08]0000000$' /proc/self/status)",
                              10'000, line, sizeof line),
              CommandAnswer::kRead);
    signal(SIGUSR1, SIG_DFL);
    EXPECT_STREQ(line, "4 2\n");
}

} // namespace
