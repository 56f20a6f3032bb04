// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/metamedia_watch.h"

#include "platform/limits.h"
#include "tests/unit/child_process.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/scratch_file.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/ptrace.h>
#include <sys/time.h>

#include <chrono>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

// A hundred times the pace, so that the whole of the child's time takes a second, and a pace for children that end
// by themselves, however busy the machine is.
constexpr ChildWatch kFast = {1000000, "/proc/meminfo"};
constexpr ChildWatch kPatient = {20000000, "/proc/meminfo"};

// Long before the time of a patiently watched child is up.
constexpr double kSoonSeconds = 10;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// No child is left, neither alive nor as a zombie.
bool NoChildLeft() {
    return waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD;
}

std::string Line(pid_t pid, const std::string &rest) {
    return "metamedia.c# Process " + std::to_string(pid) + rest;
}

struct MetamediaWatch : testing::Test {
    void SetUp() override { LogTake(); }
    void TearDown() override { EXPECT_TRUE(NoChildLeft()); }
};

TEST_F(MetamediaWatch, AProcessIdBelowOneIsABadParameter) {
    EXPECT_EQ(-1, ChildProcessWatch(0));
    EXPECT_EQ(-1, ChildProcessWatch(-1));
    EXPECT_EQ((Texts{"metamedia.c# Bad parameters.", "metamedia.c# Bad parameters."}), LogTakeTexts());
}

TEST_F(MetamediaWatch, AChildThatExitsAtOnceIsSeenAfterTheFirstSleep) {
    const auto start = Clock::now();
    EXPECT_EQ(0, ChildProcessWatch(ChildStart([] { return 0; })));
    EXPECT_GE(SecondsSince(start), 0.1);
    EXPECT_LT(SecondsSince(start), kSoonSeconds);
    EXPECT_EQ(Texts{}, LogTakeTexts());
}

TEST_F(MetamediaWatch, TheExitStatusIsTheResult) {
    EXPECT_EQ(1, ChildProcessWatch(ChildStart([] { return 1; }), kPatient));
    EXPECT_EQ(255, ChildProcessWatch(ChildStart([] { return 255; }), kPatient));
    EXPECT_EQ(Texts{}, LogTakeTexts());
}

TEST_F(MetamediaWatch, ASignalThatEndsTheChildIsLogged) {
    const pid_t child = ChildStart([] { return raise(SIGKILL); });
    EXPECT_EQ(-1, ChildProcessWatch(child, kPatient));
    EXPECT_EQ(Texts{Line(child, " killed by signal 9")}, LogTakeTexts());
}

TEST_F(MetamediaWatch, AChildThatDoesNotEndIsKilledAtThe902ndLook) {
    const pid_t child = ChildIdle();
    const auto start = Clock::now();
    EXPECT_EQ(-1, ChildProcessWatch(child, kFast));
    EXPECT_GE(SecondsSince(start), (kProbeLooksMax + 2) / 1000.0);
    EXPECT_EQ(Texts{Line(child, " exceeded max loop count: 901, sec: 0, nsec: 1000000.")}, LogTakeTexts());
}

TEST_F(MetamediaWatch, AStoppedChildIsKilledWhenItsTimeIsUp) {
    const pid_t child = ChildStart([] { return raise(SIGSTOP); });
    EXPECT_EQ(-1, ChildProcessWatch(child, kFast));
    EXPECT_EQ(Texts{Line(child, " exceeded max loop count: 901, sec: 0, nsec: 1000000.")}, LogTakeTexts());
}

#ifndef __arm__ // those tests run under user-mode emulation, which has no tracing
TEST_F(MetamediaWatch, AChildSeenAsStoppedIsNeitherLoggedNorLeftBehind) {
    const pid_t child = ChildStart([] {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        return raise(SIGSTOP);
    });
    EXPECT_EQ(-1, ChildProcessWatch(child, kPatient));
    EXPECT_EQ(Texts{}, LogTakeTexts());
    EXPECT_EQ(-1, kill(child, 0));
}
#endif

// Signals that come ten times as often as a child is looked at.
struct SignalFlood {
    SignalFlood() {
        struct sigaction handler = {};
        handler.sa_handler = [](int) {};
        sigaction(SIGALRM, &handler, &before);
        const itimerval tick = {{0, kTick}, {0, kTick}};
        setitimer(ITIMER_REAL, &tick, nullptr);
    }
    ~SignalFlood() {
        const itimerval none = {};
        setitimer(ITIMER_REAL, &none, nullptr);
        sigaction(SIGALRM, &before, nullptr);
    }
    static constexpr int kTick = 200; // microseconds
    static constexpr ChildWatch kWatch = {10 * kTick * 1000, "/proc/meminfo"};
    struct sigaction before = {};
};

TEST_F(MetamediaWatch, AFloodOfSignalsDoesNotEndAHealthyChild) {
    const pid_t child = ChildStart([] {
        usleep(1000000); // time for some thousand looks, and half of what the watch allows
        return 0;
    });
    const SignalFlood flood;
    EXPECT_EQ(0, ChildProcessWatch(child, SignalFlood::kWatch));
    EXPECT_EQ(Texts{}, LogTakeTexts());
}

TEST_F(MetamediaWatch, UnderAFloodOfSignalsAChildHasItsTimeAndNoMore) {
    const pid_t child = ChildIdle();
    const auto start = Clock::now();
    {
        const SignalFlood flood;
        EXPECT_EQ(-1, ChildProcessWatch(child, SignalFlood::kWatch));
    }
    const double allowed = kProbeLooksMax * (static_cast<double>(SignalFlood::kWatch.interval_nsec) / 1e9);
    EXPECT_GE(SecondsSince(start), allowed - 0.002); // the watch counts whole milliseconds
    EXPECT_LT(SecondsSince(start), kSoonSeconds);
    const Texts lines = LogTakeTexts();
    ASSERT_EQ(lines.size(), 1U);
    unsigned looks = 0;
    const std::string form = Line(child, " exceeded max loop count: %u, sec: 0, nsec: 2000000.");
    ASSERT_EQ(sscanf(lines[0].c_str(), form.c_str(), &looks), 1) << lines[0];
    EXPECT_GT(looks, kProbeLooksMax) << "each look counts, also one that comes early";
}

TEST_F(MetamediaWatch, KillReapsAlsoWhenSignalsInterruptIt) {
    struct sigaction handler = {};
    struct sigaction before = {};
    handler.sa_handler = [](int) {};
    sigaction(SIGALRM, &handler, &before);
    const itimerval tick = {{0, 50}, {0, 50}};
    const itimerval none = {};
    for (int i = 0; i < 50; ++i) {
        // Much memory makes the end of a process take longer than a tick.
        int ready[2];
        ASSERT_EQ(0, pipe(ready));
        const pid_t child = ChildStart([&ready] {
            std::string much(size_t{32} << 20, 'x');
            const bool told = write(ready[1], much.data(), 1) == 1;
            pause();
            return told ? 0 : 1;
        });
        char byte = 0;
        EXPECT_EQ(1, read(ready[0], &byte, 1));
        close(ready[0]);
        close(ready[1]);
        setitimer(ITIMER_REAL, &tick, nullptr);
        ChildKill(child);
        setitimer(ITIMER_REAL, &none, nullptr);
        ASSERT_TRUE(NoChildLeft());
    }
    sigaction(SIGALRM, &before, nullptr);
}

TEST_F(MetamediaWatch, AChildReapedElsewhereEndsTheWatchWithoutAKill) {
    signal(SIGCHLD, SIG_IGN);
    const pid_t child = ChildStart([] { return 0; });
    const auto start = Clock::now();
    EXPECT_EQ(-1, ChildProcessWatch(child, kPatient));
    signal(SIGCHLD, SIG_DFL);
    EXPECT_LT(SecondsSince(start), kSoonSeconds);
    EXPECT_EQ(Texts{}, LogTakeTexts());
}

TEST_F(MetamediaWatch, AChildThatEatsMemoryIsKilled) {
    // Half of it is 128 MB more than a child of the test program has to begin with.
    const long total = 2 * (ProcessStatus(getpid(), "VmRSS") + 128 * 1024);
    const ScratchFile memory("MemTotal:       " + std::to_string(total) + " kB\n");
    const pid_t child = ChildStart([] {
        for (;;) {
            constexpr size_t kPiece = size_t{16} << 20;
            memset(mmap(nullptr, kPiece, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0), 1,
                   kPiece);
            usleep(10000);
        }
        return 0;
    });
    EXPECT_EQ(-1, ChildProcessWatch(child, {kPatient.interval_nsec, memory.c_str()}));
    EXPECT_EQ(Texts{Line(child, " exceeded max memory usage.")}, LogTakeTexts());
}

TEST_F(MetamediaWatch, TheLimitIsHalfOfTheMemoryCutToAWholeNumber) {
    const pid_t child = ChildStart([] { return raise(SIGSTOP); });
    waitpid(child, nullptr, WUNTRACED); // its memory stands still now
    const long resident = ProcessStatus(child, "VmRSS");
    const auto exceeded = [child](long total) {
        const ScratchFile memory("MemFree: 1 kB\nMemTotal: " + std::to_string(total) +
                                 " kB\nMemFree: 1 kB\n");
        return ChildMemoryExceeded(child, memory.c_str());
    };
    const auto bound = static_cast<long>(static_cast<double>(resident) / kProbeMemoryShare);
    EXPECT_EQ(0, exceeded(bound));
    EXPECT_EQ(0, exceeded(bound + 1));
    EXPECT_EQ(1, exceeded(bound - 1));
    EXPECT_EQ(0, ChildMemoryExceeded(child));
    ChildKill(child);
    EXPECT_EQ(Texts{}, LogTakeTexts());
}

TEST_F(MetamediaWatch, WithoutMemoryFiguresNothingIsExceeded) {
    const ScratchFile no_total("MemFree: 1 kB\n MemTotal: 1 kB\n");
    EXPECT_EQ(0, ChildMemoryExceeded(getpid(), "/tmp/no-such-file"));
    EXPECT_EQ(0, ChildMemoryExceeded(getpid(), no_total.c_str()));
    EXPECT_EQ((Texts{"metamedia.c# Cannot open /proc/meminfo", "metamedia.c# Cannot get MemTotal value."}),
              LogTakeTexts());
}

TEST_F(MetamediaWatch, AProcessThatIsGoneOrEndingExceedsNothing) {
    const ScratchFile small("MemTotal: 2 kB\n");
    EXPECT_EQ(1, ChildMemoryExceeded(getpid(), small.c_str()));
    const pid_t child = ChildStart([] { return 0; });
    siginfo_t ended;
    waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT); // a zombie, without a VmRSS line
    EXPECT_EQ(0, ChildMemoryExceeded(child, small.c_str()));
    ChildStatus(child);
    EXPECT_EQ(0, ChildMemoryExceeded(child, small.c_str()));
    EXPECT_EQ(Texts{}, LogTakeTexts());
}

} // namespace
