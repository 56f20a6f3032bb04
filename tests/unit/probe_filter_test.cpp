// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/probe_module/filter.h"

#include "container/probe_module/filter_support.h"
#include "tests/unit/child_process.h"
#include "tests/unit/scratch_file.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>

#include <string>

namespace {

// The status of a process that does `body` behind the filter.
template <typename Body>
int Behind(Body body) {
    return ChildRunStatus([&body] { return SyscallFilterInstall() ? body() : 99; });
}

bool Killed(int status) {
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS;
}

bool Succeeded(int status) {
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(ProbeFilter, TheTestMachineHasFilters) {
    ASSERT_TRUE(SyscallFilterSupported());
}

TEST(ProbeFilter, OpeningForWritingIsTheEnd) {
    const ScratchFile file("x");
    EXPECT_TRUE(Killed(Behind([&] { return open(file.c_str(), O_WRONLY); })));
    EXPECT_TRUE(Killed(Behind([&] { return open(file.c_str(), O_RDWR); })));
    EXPECT_TRUE(Killed(Behind([&] { return open(file.c_str(), O_RDONLY | O_TRUNC); })));
    EXPECT_TRUE(Killed(Behind([&] { return open("/tmp/made", O_RDONLY | O_CREAT, 0600); })));
    EXPECT_TRUE(Killed(Behind([&] { return creat("/tmp/made", 0600); })));
    EXPECT_NE(0, access("/tmp/made", F_OK));
}

TEST(ProbeFilter, ChangingTheFileSystemIsTheEnd) {
    const ScratchFile file("x");
    EXPECT_TRUE(Killed(Behind([&] { return unlink(file.c_str()); })));
    EXPECT_TRUE(Killed(Behind([&] { return rename(file.c_str(), "/tmp/other"); })));
    EXPECT_TRUE(Killed(Behind([&] { return chmod(file.c_str(), 0777); })));
    EXPECT_TRUE(Killed(Behind([&] { return mkdir("/tmp/folder", 0700); })));
    EXPECT_EQ(0, access(file.c_str(), F_OK));
}

TEST(ProbeFilter, StartingAProgramIsTheEnd) {
    EXPECT_TRUE(Killed(Behind([] { return execl("/bin/true", "true", nullptr); })));
    EXPECT_TRUE(Killed(Behind([] {
        vfork();
        return 0;
    })));
}

TEST(ProbeFilter, TheNetworkIsTheEnd) {
    EXPECT_TRUE(Killed(Behind([] { return socket(AF_INET, SOCK_STREAM, 0); })));
    EXPECT_TRUE(Killed(Behind([] { return socket(AF_INET6, SOCK_DGRAM, 0); })));
    EXPECT_TRUE(Killed(Behind([] { return socket(AF_NETLINK, SOCK_RAW, 0); })));
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM, 0, pair));
    const sockaddr nobody = {AF_UNIX, {}};
    EXPECT_TRUE(Killed(Behind([&] { return connect(pair[0], &nobody, sizeof nobody); })));
    EXPECT_TRUE(
        Killed(Behind([&] { return sendto(pair[0], "x", 1, 0, &nobody, sizeof nobody) == 1 ? 0 : 1; })));
    close(pair[0]);
    close(pair[1]);
}

TEST(ProbeFilter, OtherProcessesAreOutOfReach) {
    EXPECT_TRUE(Killed(Behind([] { return kill(getppid(), SIGTERM); })));
    EXPECT_TRUE(Killed(Behind([] { return tgkill(getppid(), getppid(), SIGTERM); })));
    EXPECT_TRUE(
        Killed(Behind([] { return static_cast<int>(ptrace(PTRACE_ATTACH, getppid(), nullptr, nullptr)); })));
    EXPECT_TRUE(Killed(Behind([] { return setuid(0); })));
}

TEST(ProbeFilter, NewCodeIsTheEnd) {
    EXPECT_TRUE(Killed(Behind([] {
        mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        return 0;
    })));
    EXPECT_TRUE(Killed(Behind([] {
        void *page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        return mprotect(page, 4096, PROT_READ | PROT_EXEC);
    })));
}

TEST(ProbeFilter, WhatLibrariesTryInPassingFails) {
    // A second thread or process, another file, and the system log's socket after the connected one has gone.
    const ScratchFile file("x");
    EXPECT_TRUE(
        Succeeded(Behind([&] { return open(file.c_str(), O_RDONLY) == -1 && errno == EACCES ? 0 : 1; })));
    EXPECT_TRUE(Succeeded(Behind([] { return open("/tmp", O_DIRECTORY) == -1 && errno == EACCES ? 0 : 1; })));
    EXPECT_TRUE(Succeeded(Behind([] { return fork() == -1 && errno == EAGAIN ? 0 : 1; })));
    EXPECT_TRUE(
        Succeeded(Behind([] { return socket(AF_UNIX, SOCK_DGRAM, 0) == -1 && errno == EACCES ? 0 : 1; })));
}

TEST(ProbeFilter, ReadingAnOpenFileGoesOn) {
    const ScratchFile file("content");
    const int fd = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    const int status = Behind([fd] {
        char bytes[8] = {};
        const bool good = lseek(fd, 3, SEEK_SET) == 3 && read(fd, bytes, sizeof bytes) == 4 &&
                          strcmp(bytes, "tent") == 0 && close(fd) == 0;
        return good ? 0 : 1;
    });
    EXPECT_TRUE(Succeeded(status));
    close(fd);
}

TEST(ProbeFilter, MemoryAndTimeGoOn) {
    const int status = Behind([] {
        std::string large(size_t{64} << 20, 'x');
        large.append(large);
        std::string small;
        for (int i = 0; i < 100000; ++i)
            small += std::to_string(i);
        timespec now = {};
        return clock_gettime(CLOCK_MONOTONIC, &now) == 0 && time(nullptr) > 0 && large.size() > small.size()
                   ? 0
                   : 1;
    });
    EXPECT_TRUE(Succeeded(status));
}

TEST(ProbeFilter, AConnectedSocketTakesLogLines) {
    int pair[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM, 0, pair));
    EXPECT_TRUE(Succeeded(Behind([&pair] { return send(pair[0], "line", 4, MSG_NOSIGNAL) == 4 ? 0 : 1; })));
    char line[8] = {};
    EXPECT_EQ(4, recv(pair[1], line, sizeof line, MSG_DONTWAIT));
    EXPECT_STREQ("line", line);
    close(pair[0]);
    close(pair[1]);
}

TEST(ProbeFilter, AbortEndsWithItsOwnSignal) {
    const int status = Behind([] {
        signal(SIGABRT, SIG_DFL);
        abort();
        return 0;
    });
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(SIGABRT, WTERMSIG(status));
}

} // namespace
