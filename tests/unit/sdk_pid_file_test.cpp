// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/velusdk.h"
#include "scratch_file.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

namespace {

pid_t PidIn(std::string_view content) {
    return KLIBReadPidFile(ScratchFile(content).c_str());
}

std::string OwnPid() {
    return std::to_string(getpid());
}

} // namespace

TEST(SdkPidFile, GivesTheIdOfARunningProcess) {
    EXPECT_EQ(PidIn(OwnPid()), getpid());
    EXPECT_EQ(PidIn(OwnPid() + "\n"), getpid());
    EXPECT_EQ(PidIn("  " + OwnPid() + " \r\n"), getpid());
    EXPECT_EQ(PidIn(OwnPid() + "\n/usr/bin/server\n"), getpid());
    EXPECT_EQ(PidIn(OwnPid() + "\n" + std::string(1000, 'x')), getpid());
}

TEST(SdkPidFile, MissingFileOrArgument) {
    EXPECT_EQ(KLIBReadPidFile("/tmp/no-such.pid"), 0);
    EXPECT_EQ(KLIBReadPidFile(nullptr), 0);
    EXPECT_EQ(KLIBReadPidFile("/tmp"), 0);
}

TEST(SdkPidFile, HostileContentIsNoId) {
    for (const char *content :
         {"", "\n", "   ", "0", "0\n", "-1\n", "-2147483648", "abc", "x1", "1x", "1.5", "+1", "0x1",
          "4294967297\n", "2147483648", "18446744073709551617", "99999999999999999999999999999999999999999"})
        EXPECT_EQ(PidIn(content), 0) << content;
    EXPECT_EQ(PidIn("-" + OwnPid()), 0);
    EXPECT_EQ(PidIn(OwnPid() + "x"), 0);
    EXPECT_EQ(PidIn(OwnPid() + std::string(1, '\0')), 0);
}

// The part of an endless word that is read first must not pass for the whole word.
TEST(SdkPidFile, WordCutByTheBufferIsNoId) {
    for (size_t zeros = 50; zeros < 70; ++zeros)
        EXPECT_EQ(PidIn(std::string(zeros, '0') + "1" + std::string(20, '9')), 0) << zeros;
    EXPECT_EQ(PidIn(std::string(1000, '9')), 0);
    EXPECT_EQ(PidIn(std::string(1000, ' ') + "1"), 0);
}

TEST(SdkPidFile, EndedProcessDoesNotCount) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        _exit(0);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_EQ(PidIn(std::to_string(child)), 0);
}

// Process 1 belongs to root; a caller without rights may not signal it, but it runs.
TEST(SdkPidFile, ProcessOfAnotherUserRuns) {
    const ScratchFile file("1\n");
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (setuid(65534) != 0 || kill(1, 0) == 0)
            _exit(2);
        _exit(KLIBReadPidFile(file.c_str()) == 1 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}
