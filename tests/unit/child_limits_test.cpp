// SPDX-License-Identifier: GPL-2.0-or-later
//
// The bounds of the probe's child at their values: what it has of them, and what the kernel makes of them.
#include "container/metamedia_child.h"

#include "platform/limits.h"
#include "platform/media_record.h"
#include "tests/unit/child_process.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/resource.h>

namespace {

constexpr ChildWatch kPatient = {20000000, "/proc/meminfo"};

int ProbeProcessorTime(const char *, MediaInfo *record) {
    rlimit limit = {};
    getrlimit(RLIMIT_CPU, &limit);
    record->track = limit.rlim_cur == limit.rlim_max ? static_cast<int32_t>(limit.rlim_max) : -1;
    return kProbeDone;
}

// The seconds that the child of a daemon has which is itself granted so many; -1 when it could not be asked.
int SecondsUnder(rlim_t daemon_seconds) {
    int *seconds = SharedMake<int>();
    *seconds = -1;
    ChildRunStatus([&] {
        const rlimit limit = {daemon_seconds, daemon_seconds};
        MediaInfo record = {};
        if (setrlimit(RLIMIT_CPU, &limit) == 0 &&
            MediaProbeRun(ProbeProcessorTime, "/volume1/a.avi", &record, kPatient) == kProbeDone)
            *seconds = record.track;
        return 0;
    });
    return *seconds;
}

TEST(ChildLimits, ProcessorTimeIsTheBoundAndNeverMoreThanTheDaemons) {
    constexpr int kBound = kProbeCpuSecondsMax;
    EXPECT_EQ(SecondsUnder(RLIM_INFINITY), kBound);
    EXPECT_EQ(SecondsUnder(kBound + 1), kBound);
    EXPECT_EQ(SecondsUnder(kBound), kBound);
    EXPECT_EQ(SecondsUnder(kBound - 1), kBound - 1);
}

// Sanitizers are built without the bound of the address space, and an emulator of a 32-bit machine keeps it to itself.
#if !VELU_SANITIZED && UINTPTR_MAX > UINT32_MAX

size_t PageSize() {
    return static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// Pages of this process's address space. Nothing is allocated for the answer, which would change it.
size_t PagesUsed() {
    char text[64] = {};
    const int file = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
    unsigned long pages = 0;
    const bool known = read(file, text, sizeof text - 1) > 0 && sscanf(text, "%lu", &pages) == 1;
    close(file);
    return known ? pages : 0;
}

bool MayMap(size_t pages) {
    void *memory =
        mmap(nullptr, pages * PageSize(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return memory != MAP_FAILED && munmap(memory, pages * PageSize()) == 0;
}

// Takes all pages that its bound leaves, and then one more.
int ProbeAddressSpace(const char *, MediaInfo *record) {
    const size_t machine = static_cast<size_t>(sysconf(_SC_PHYS_PAGES));
    const size_t bound = machine + static_cast<size_t>(kProbeAddressReserve / PageSize());
    const size_t left = bound - PagesUsed();
    record->track = MayMap(left) ? 1 : 0;
    record->year = !MayMap(left + 1) && errno == ENOMEM ? 1 : 0;
    return kProbeDone;
}

TEST(ChildLimits, TheAddressSpaceIsTheMachinesMemoryAndTheReserve) {
    MediaInfo record = {};
    ASSERT_EQ(MediaProbeRun(ProbeAddressSpace, "/volume1/a.avi", &record, kPatient), kProbeDone);
    EXPECT_EQ(record.track, 1) << "a mapping up to the bound";
    EXPECT_EQ(record.year, 1) << "one page more";
}

#endif

} // namespace
