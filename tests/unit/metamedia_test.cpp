// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/metamedia_child.h"

#include "platform/handle.h"
#include "platform/limits.h"
#include "platform/media_record.h"
#include "platform/module.h"
#include "tests/unit/child_process.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/scratch_file.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

constexpr char kPath[] = "/volume1/video/film.avi";

// For children that end by themselves, however busy the machine is, and for one that does not.
constexpr ChildWatch kPatient = {20000000, "/proc/meminfo"};
constexpr ChildWatch kFast = {1000000, "/proc/meminfo"};

std::unique_ptr<MediaInfo> RecordMake() {
    auto record = std::make_unique<MediaInfo>();
    strcpy(record->path, kPath);
    strcpy(record->title, "film");
    strcpy(record->composer, "composer");
    record->file_size = uint64_t{5} << 32;
    record->width = 7;
    return record;
}

int ProbeWell(const char *path, MediaInfo *record) {
    const bool given = strcmp(path, kPath) == 0 && strcmp(record->path, kPath) == 0 &&
                       strcmp(record->title, "film") == 0 && record->file_size == uint64_t{5} << 32;
    strcpy(record->title, given ? "found" : "not what was given");
    strcpy(record->album, "album");
    strcpy(record->artist, "artist");
    strcpy(record->genre, "genre");
    record->track = 1;
    record->year = 2;
    record->duration = 3;
    record->audio_bitrate = 4;
    record->video_bitrate = 5;
    record->sample_rate = 6;
    record->channels = 7;
    record->width = 8;
    record->height = 9;
    return kProbeDone;
}

TEST(Metamedia, TheChildGetsTheRecordAndItsFindingsComeBack) {
    LogTake();
    const auto record = RecordMake();
    EXPECT_EQ(0, MediaProbeRun(ProbeWell, kPath, record.get(), kPatient));
    const auto expected = RecordMake();
    ProbeWell(kPath, expected.get());
    EXPECT_EQ(0, memcmp(expected.get(), record.get(), sizeof *record));
    EXPECT_STREQ("found", record->title);
    EXPECT_EQ(Texts{}, LogTakeTexts());
}

TEST(Metamedia, WhatWasFoundBeforeAFailureComesBack) {
    LogTake();
    const auto record = RecordMake();
    const auto probe = [](const char *, MediaInfo *block) -> int {
        block->channels = 2;
        return kProbeFailed;
    };
    EXPECT_EQ(1, MediaProbeRun(probe, kPath, record.get(), kPatient));
    EXPECT_EQ(2U, record->channels);
    EXPECT_EQ(Texts{"metamedia.c# Failed to get Misc Media Info from [/volume1/video/film.avi]."},
              LogTakeTexts());
}

TEST(Metamedia, WhatWasFoundBeforeTheChildDiedComesBack) {
    LogTake();
    const auto record = RecordMake();
    const auto probe = [](const char *, MediaInfo *block) -> int {
        block->channels = 2;
        return raise(SIGKILL);
    };
    EXPECT_EQ(-1, MediaProbeRun(probe, kPath, record.get(), kPatient));
    EXPECT_EQ(2U, record->channels);
    const Texts lines = LogTakeTexts();
    ASSERT_EQ(1U, lines.size());
    EXPECT_NE(std::string::npos, lines[0].find(" killed by signal 9"));
}

TEST(Metamedia, WhatWasFoundBeforeTheChildWasKilledComesBack) {
    LogTake();
    const auto record = RecordMake();
    const auto probe = [](const char *, MediaInfo *block) -> int {
        block->channels = 2;
        for (;;)
            pause();
    };
    EXPECT_EQ(-1, MediaProbeRun(probe, kPath, record.get(), kFast));
    EXPECT_EQ(2U, record->channels);
    EXPECT_EQ(1U, LogTake().size());
}

TEST(Metamedia, AChildThatWritesAnythingCannotHarmTheRecord) {
    const auto record = RecordMake();
    const auto probe = [](const char *, MediaInfo *block) -> int {
        memset(static_cast<void *>(block), 'x', sizeof *block);
        return kProbeDone;
    };
    EXPECT_EQ(0, MediaProbeRun(probe, kPath, record.get(), kPatient));
    EXPECT_STREQ(kPath, record->path);
    EXPECT_STREQ("composer", record->composer);
    EXPECT_EQ(0, record->title_utf16);
    for (const char *text : {record->title, record->album, record->artist, record->genre})
        EXPECT_EQ(std::string(kMediaTextSize - 1, 'x'), text);
}

bool *exit_handler_ran = nullptr;

TEST(Metamedia, TheChildLeavesTheExitHandlersAlone) {
    exit_handler_ran = SharedMake<bool>();
    atexit([] { *exit_handler_ran = true; });
    const auto record = RecordMake();
    EXPECT_EQ(0, MediaProbeRun(ProbeWell, kPath, record.get(), kPatient));
    EXPECT_EQ(1, MediaProbeRun([](const char *, MediaInfo *) -> int { return kProbeFailed; }, kPath,
                               record.get(), kPatient));
    EXPECT_FALSE(*exit_handler_ran);
}

TEST(Metamedia, TheChildHasSigtermsDefault) {
    signal(SIGTERM, [](int) {});
    const auto record = RecordMake();
    const auto probe = [](const char *, MediaInfo *) -> int {
        struct sigaction now = {};
        return sigaction(SIGTERM, nullptr, &now) == 0 && now.sa_handler == SIG_DFL ? kProbeDone
                                                                                   : kProbeFailed;
    };
    EXPECT_EQ(0, MediaProbeRun(probe, kPath, record.get(), kPatient));
    signal(SIGTERM, SIG_DFL);
}

bool LimitIs(__rlimit_resource resource, rlim_t value) {
    rlimit limit = {};
    return getrlimit(resource, &limit) == 0 && limit.rlim_cur == value && limit.rlim_max == value;
}

// Says what is wrong in the title.
int ProbeConfinement(const char *, MediaInfo *record) {
    const auto wrong = [record](const char *what) {
        strcpy(record->title, what);
        return kProbeFailed;
    };
    int signal_number = 0;
    prctl(PR_GET_PDEATHSIG, &signal_number);
    if (signal_number != SIGKILL)
        return wrong("death signal");
    if (prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) != 1)
        return wrong("new privileges");
    if (prctl(PR_GET_DUMPABLE, 0, 0, 0, 0) != 0 || !LimitIs(RLIMIT_CORE, 0))
        return wrong("core");
    if (!LimitIs(RLIMIT_FSIZE, 0))
        return wrong("file size");
    if (!LimitIs(RLIMIT_CPU, kProbeCpuSecondsMax))
        return wrong("processor time");
    if (!LimitIs(RLIMIT_NOFILE, kProbeOpenFilesMax))
        return wrong("open files");
    const auto memory =
        static_cast<rlim_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
    // An emulator of a 32-bit machine keeps this one to itself, or would lose its own memory.
    constexpr bool kNative = sizeof(void *) > 4;
    if (!VELU_SANITIZED && kNative && !LimitIs(RLIMIT_AS, memory + kProbeAddressReserve))
        return wrong("address space");
    // Without a system log in the sandbox not even its socket is open.
    for (int fd = STDERR_FILENO + 1; fd < 1024; ++fd) {
        struct stat status = {};
        if (fstat(fd, &status) == 0 && !S_ISSOCK(status.st_mode))
            return wrong("descriptors");
    }
    return kProbeDone;
}

TEST(Metamedia, TheChildIsConfined) {
    LogTake();
    const FdHandle inherited(open("/dev/null", O_RDONLY));
    const auto record = RecordMake();
    EXPECT_EQ(0, MediaProbeRun(ProbeConfinement, kPath, record.get(), kPatient)) << record->title;
}

// Opens what it may and one more.
int ProbeOfManyFiles(const char *, MediaInfo *) {
    int next = 0;
    do
        next = open("/dev/null", O_RDONLY);
    while (next >= 0 && next < static_cast<int>(kProbeOpenFilesMax) - 1);
    return next == static_cast<int>(kProbeOpenFilesMax) - 1 && open("/dev/null", O_RDONLY) < 0 &&
                   errno == EMFILE
               ? kProbeDone
               : kProbeFailed;
}

TEST(Metamedia, TheChildOpensFilesUpToItsBound) {
    const auto record = RecordMake();
    EXPECT_EQ(0, MediaProbeRun(ProbeOfManyFiles, kPath, record.get(), kPatient));
}

TEST(Metamedia, TheChildCannotWriteFiles) {
    const ScratchFile file("");
    const auto record = RecordMake();
    const auto probe = [](const char *path, MediaInfo *) -> int {
        signal(SIGXFSZ, SIG_IGN);
        const int fd = open(path, O_WRONLY);
        return write(fd, "x", 1) < 0 && errno == EFBIG ? kProbeDone : kProbeFailed;
    };
    EXPECT_EQ(0, MediaProbeRun(probe, file.c_str(), record.get(), kPatient));
}

TEST(Metamedia, TheDaemonsRecordLocksOutliveTheChild) {
    const ScratchFile file("database");
    const FdHandle fd(open(file.c_str(), O_RDWR | O_CLOEXEC));
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    ASSERT_EQ(0, fcntl(fd.get(), F_SETLK, &lock));
    const auto record = RecordMake();
    EXPECT_EQ(0, MediaProbeRun(ProbeWell, kPath, record.get(), kPatient));
    const int status = ChildRunStatus([&] {
        struct flock other = lock;
        fcntl(fd.get(), F_GETLK, &other);
        return other.l_type == F_WRLCK && other.l_pid == getppid() ? 0 : 1;
    });
    EXPECT_EQ(0, status);
}

struct Chain {
    volatile pid_t probe;
};
Chain *chain = nullptr;

TEST(Metamedia, TheChildDiesWithTheDaemon) {
    chain = SharedMake<Chain>();
    const pid_t daemon = ChildStart([] {
        const auto record = RecordMake();
        const auto probe = [](const char *, MediaInfo *) -> int {
            chain->probe = getpid();
            for (;;)
                pause();
        };
        return MediaProbeRun(probe, kPath, record.get());
    });
    while (chain->probe == 0)
        usleep(1000);
    kill(daemon, SIGKILL);
    ChildStatus(daemon);
    // The orphan is reaped by the sandbox.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (kill(chain->probe, 0) == 0 && std::chrono::steady_clock::now() < end)
        usleep(1000);
    EXPECT_NE(0, kill(chain->probe, 0));
}

TEST(Metamedia, AChildWhoseDaemonIsGoneAlreadyEndsAtOnce) {
    const int status = ChildRunStatus([] {
        ChildConfine(getpid()); // not its parent
        return 77;
    });
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(kProbeFailed, WEXITSTATUS(status));
}

TEST(Metamedia, WithoutMemoryForTheBlockNothingIsStarted) {
    LogTake();
    const auto record = RecordMake();
    const auto expected = RecordMake();
    const int status = ChildRunStatus([&] {
        // Neighbours with different rights do not merge, and a process has a limited number of mappings.
        for (int rights = 0; mmap(nullptr, 1, rights, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;)
            rights ^= PROT_READ;
        const int result = MediaProbeRun(ProbeWell, kPath, record.get(), kPatient);
        return result == -1 && memcmp(expected.get(), record.get(), sizeof *record) == 0 ? 0 : 1;
    });
    EXPECT_EQ(0, status);
    EXPECT_EQ(Texts{"metamedia.c# mmap() failed."}, LogTakeTexts());
}

TEST(Metamedia, WithoutAProcessTheRecordStays) {
    LogTake();
    const auto record = RecordMake();
    const auto expected = RecordMake();
    const int status = ChildRunStatus([&] {
        const rlimit none = {};
        if (setrlimit(RLIMIT_NPROC, &none) != 0 || setuid(65534) != 0) // root has no such limit
            return 2;
        const int result = MediaProbeRun(ProbeWell, kPath, record.get(), kPatient);
        return result == -1 && memcmp(expected.get(), record.get(), sizeof *record) == 0 ? 0 : 1;
    });
    EXPECT_EQ(0, WEXITSTATUS(status));
    EXPECT_EQ(Texts{"metamedia.c# fork failed."}, LogTakeTexts());
}

TEST(Module, AMissingModuleIsNamedInTheReason) {
    std::string error;
    EXPECT_EQ(nullptr, ModuleEntry("no-such-module.so", "Entry", &error));
    EXPECT_NE(std::string::npos, error.find("/lib/velu/no-such-module.so")) << error;
}

} // namespace
