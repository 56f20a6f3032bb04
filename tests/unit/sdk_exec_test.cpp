// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/velusdk.h"
#include "scratch_file.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <fstream>
#include <sstream>

namespace {

constexpr const char *kOutput = "/tmp/exec-output";

int RunShell(const char *script) {
    return KLIBExec("/bin/sh", "-c", script, nullptr, nullptr);
}

std::string Output() {
    std::ostringstream text;
    text << std::ifstream(kOutput).rdbuf();
    unlink(kOutput);
    return text.str();
}

// The result for a program that cannot start. Where vfork does not share memory (user-mode emulation of
// another processor), posix_spawn learns nothing of a failed exec, and the child ends with 127 as POSIX says.
int NotStarted() {
    volatile bool shared = false;
    const pid_t child = vfork();
    if (child == 0) {
        shared = true;
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    return shared ? -1 : 127;
}

} // namespace

TEST(SdkExec, GivesTheExitStatus) {
    EXPECT_EQ(KLIBExec("/bin/true", nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(KLIBExec("/bin/false", nullptr, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(RunShell("exit 200"), 200);
}

TEST(SdkExec, EndBySignalIsAFailure) {
    EXPECT_EQ(RunShell("kill -9 $$"), -1);
}

TEST(SdkExec, ProgramThatCannotStart) {
    EXPECT_EQ(KLIBExec("/usr/velu/bin/missing", "-f", "/a", nullptr, nullptr), NotStarted());
    EXPECT_EQ(KLIBExec(nullptr, nullptr, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(KLIBExec("", nullptr, nullptr, nullptr, nullptr), NotStarted());
    EXPECT_EQ(KLIBExec("/tmp", nullptr, nullptr, nullptr, nullptr), NotStarted());
    const ScratchFile no_program("exit 0\n");
    EXPECT_EQ(KLIBExec(no_program.c_str(), nullptr, nullptr, nullptr, nullptr), NotStarted());
    ASSERT_EQ(chmod(no_program.c_str(), 0755), 0);
    EXPECT_EQ(KLIBExec(no_program.c_str(), nullptr, nullptr, nullptr, nullptr), NotStarted());
}

TEST(SdkExec, NameIsNotSearchedInThePath) {
    EXPECT_EQ(KLIBExec("true", nullptr, nullptr, nullptr, nullptr), NotStarted());
}

TEST(SdkExec, ArgumentsArriveUnchanged) {
    const std::string script =
        "#!/bin/sh\nfor a in \"$0\" \"$@\"; do printf '[%s]' \"$a\"; done >/tmp/exec-output\n";
    const ScratchFile program(script);
    ASSERT_EQ(chmod(program.c_str(), 0755), 0);
    ASSERT_EQ(KLIBExec(program.c_str(), "-f", "/a b/$(id) ;'\"*\n\xff", "", "4"), 0);
    EXPECT_EQ(Output(), "[" + program.path + "][-f][/a b/$(id) ;'\"*\n\xff][][4]");
    ASSERT_EQ(KLIBExec(program.c_str(), "1", nullptr, "3", nullptr), 0);
    EXPECT_EQ(Output(), "[" + program.path + "][1]");
    ASSERT_EQ(KLIBExec(program.c_str(), nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(Output(), "[" + program.path + "]");
}

TEST(SdkExec, SignalsAreAsAtTheStartOfALoginProgram) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigaddset(&blocked, SIGUSR1);
    ASSERT_EQ(sigprocmask(SIG_BLOCK, &blocked, &before), 0);
    struct sigaction ignored = {};
    ignored.sa_handler = SIG_IGN;
    struct sigaction old_pipe;
    ASSERT_EQ(sigaction(SIGPIPE, &ignored, &old_pipe), 0);
    // Not through the shell: that one clears its mask itself.
    const int result = KLIBExec("/bin/cp", "/proc/self/status", kOutput, nullptr, nullptr);
    sigaction(SIGPIPE, &old_pipe, nullptr);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    ASSERT_EQ(result, 0);
    unsigned long long child_blocked = ~0ULL;
    unsigned long long child_ignored = ~0ULL;
    const std::string status = Output();
    const size_t begin = status.find("SigBlk:");
    ASSERT_NE(begin, std::string::npos);
    ASSERT_EQ(sscanf(status.c_str() + begin, "SigBlk: %llx SigIgn: %llx", &child_blocked, &child_ignored), 2);
    EXPECT_EQ(child_blocked, 0u);
    // The C library keeps the two signals above the standard ones to itself and leaves them ignored.
    EXPECT_EQ(child_ignored & 0x7FFFFFFF, 0u);
}

TEST(SdkExec, OnlyTheStandardStreamsAreInherited) {
    const int low = open("/dev/null", O_RDONLY);
    const int high = fcntl(low, F_DUPFD, 700);
    ASSERT_GE(low, 3);
    ASSERT_GE(high, 700);
    const std::string script = "[ -e /proc/self/fd/2 ] && ! [ -e /proc/$$/fd/" + std::to_string(low) +
                               " ] && ! [ -e /proc/$$/fd/" + std::to_string(high) + " ]";
    EXPECT_EQ(RunShell(script.c_str()), 0);
    close(low);
    close(high);
}

TEST(SdkExec, WaitsThroughSignals) {
    struct sigaction handler = {};
    handler.sa_handler = [](int) {};
    struct sigaction old_handler;
    ASSERT_EQ(sigaction(SIGALRM, &handler, &old_handler), 0);
    const struct itimerval ticking = {{0, 20000}, {0, 20000}};
    const struct itimerval stopped = {};
    setitimer(ITIMER_REAL, &ticking, nullptr);
    const int result = RunShell("sleep 0.2; exit 7");
    setitimer(ITIMER_REAL, &stopped, nullptr);
    sigaction(SIGALRM, &old_handler, nullptr);
    EXPECT_EQ(result, 7);
}
