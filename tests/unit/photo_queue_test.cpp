// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_queue.h"

#include <linux/capability.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <algorithm>
#include <regex>

#include "photo_catalogue.h"
#include "platform/limits.h"

namespace {

constexpr char kThumbQueue[] = "/var/spool/thumb_create.queue";
constexpr char kFlvQueue[] = "/var/spool/flv_create.queue";
constexpr char kThumbPidFile[] = "/var/run/velumkthumbd.pid";
constexpr char kFlvPidFile[] = "/var/run/velumkflvd.pid";

volatile sig_atomic_t signals;

// A daemon is this process itself, which counts its signals.
class PhotoQueueTest : public PhotoLibraryFixture {
protected:
    PhotoQueueTest() {
        signals = 0;
        signal(SIGUSR1, [](int) { signals = signals + 1; });
    }
    ~PhotoQueueTest() override { signal(SIGUSR1, SIG_DFL); }

    static void DaemonRun(const char *pid_file) { FileWrite(pid_file, std::to_string(getpid()) + "\n"); }
};

int pauses;

// Without its privilege over files, root meets EACCES like anybody.
int ChildWithoutPrivilege(int (*run)()) {
    const pid_t child = fork();
    if (child == 0) {
        __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct none[2] = {};
        syscall(SYS_capset, &header, none);
        _exit(run());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST_F(PhotoQueueTest, MissingArgumentsFailSilently) {
    EXPECT_EQ(WriteThumbQueue(nullptr, kThumbQueue), -1);
    EXPECT_EQ(WriteThumbQueue("/photo/a", nullptr), -1);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(PhotoQueueTest, ALineIsQueuedOnce) {
    EXPECT_EQ(WriteThumbQueue("/photo/a", kThumbQueue), 0);
    EXPECT_EQ(WriteThumbQueue("/photo/b", kThumbQueue), 0);
    EXPECT_EQ(WriteThumbQueue("/photo/a", kThumbQueue), 0);
    EXPECT_EQ(FileRead(kThumbQueue), "/photo/a\n/photo/b\n");
}

TEST_F(PhotoQueueTest, ALongerLineIsAnotherOne) {
    FileWrite(kThumbQueue, "/photo/ab\n");
    EXPECT_EQ(WriteThumbQueue("/photo/a", kThumbQueue), 0);
    EXPECT_EQ(FileRead(kThumbQueue), "/photo/ab\n/photo/a\n");
}

TEST_F(PhotoQueueTest, AMissingFolderIsTriedOnce) {
    pauses = 0;
    photo_queue_pause = [](unsigned) { return static_cast<unsigned>(++pauses); };
    EXPECT_EQ(WriteThumbQueue("/photo/a", "/var/spool/none/queue"), -1);
    photo_queue_pause = sleep;
    EXPECT_EQ(pauses, 0);
    const Texts texts = LogTakeTexts();
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_NE(texts[0].find("open(/var/spool/none/queue, "), std::string::npos);
    EXPECT_NE(texts[0].find("failed, reason=No such file or directory\n"), std::string::npos);
}

TEST_F(PhotoQueueTest, AFolderWithoutRightsIsTried17TimesWith16PausesOfASecond) {
    mkdir("/var/spool/closed", 0);
    photo_queue_pause = [](unsigned seconds) { return pauses += static_cast<int>(seconds), 0U; };
    const int result = ChildWithoutPrivilege([] {
        pauses = 0;
        return WriteThumbQueue("/photo/a", "/var/spool/closed/queue") == -1 ? pauses : 100;
    });
    photo_queue_pause = sleep;
    rmdir("/var/spool/closed");
    EXPECT_EQ(result, kConverterQueueRetriesMax);
    const Texts texts = LogTakeTexts();
    EXPECT_EQ(texts.size(), kConverterQueueRetriesMax + 1U);
    EXPECT_EQ(std::count_if(texts.begin(), texts.end(),
                            [](const std::string &text) {
                                return text.find("failed, reason=Permission denied\n") != std::string::npos;
                            }),
              17);
}

TEST_F(PhotoQueueTest, AFailedWriteIsLogged) {
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit none = {0, before.rlim_max};
    signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &none);
    const int result = WriteThumbQueue("/photo/a", kThumbQueue);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, SIG_DFL);
    EXPECT_EQ(result, -1);
    const Texts texts = LogTakeTexts();
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(std::regex_replace(texts[0], std::regex("WriteThumbQueue\\([0-9]+\\)"), "WriteThumbQueue#"),
              "photo_index.c: WriteThumbQueue# - failed to write (/photo/a, 8) into "
              "/var/spool/thumb_create.queue, reason=File too large");
}

TEST_F(PhotoQueueTest, AFailedLockIsLogged) {
    FileWrite(kThumbQueue, "");
    FILE *other = fopen(kThumbQueue, "re");
    ASSERT_EQ(flock(fileno(other), LOCK_EX), 0);
    struct sigaction interrupting = {};
    interrupting.sa_handler = [](int) {};
    sigaction(SIGALRM, &interrupting, nullptr); // without SA_RESTART
    const itimerval soon = {{0, 50'000}, {0, 50'000}};
    const itimerval never = {};
    setitimer(ITIMER_REAL, &soon, nullptr);
    EXPECT_EQ(WriteThumbQueue("/photo/a", kThumbQueue), -1);
    setitimer(ITIMER_REAL, &never, nullptr);
    signal(SIGALRM, SIG_DFL);
    fclose(other);
    const Texts texts = LogTakeTexts();
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_NE(texts[0].find(" - failed to lock file descriptor of /var/spool/thumb_create.queue, "
                            "reason=Interrupted system call"),
              std::string::npos);
    EXPECT_EQ(FileRead(kThumbQueue), "");
}

TEST_F(PhotoQueueTest, ALineOfAnyLengthIsCutToTheBuffer) {
    EXPECT_EQ(WriteThumbQueue(std::string(5000, 'a').c_str(), kThumbQueue), 0);
    EXPECT_EQ(FileRead(kThumbQueue), std::string(4096, 'a'));
}

TEST_F(PhotoQueueTest, APictureQueuesItsFolderAndAWebVideoItself) {
    DaemonRun(kThumbPidFile);
    DaemonRun(kFlvPidFile);
    FileWrite("/volume1/photo/a/b.jpg", "x");
    FileWrite("/volume1/photo/a/c.mp4", "x");
    PhotoConvertQueueAdd("/volume1/photo/a/b.jpg", 3);
    EXPECT_EQ(signals, 1);
    PhotoConvertQueueAdd("/volume1/photo/a/c.mp4", 3);
    EXPECT_EQ(signals, 2);
    EXPECT_EQ(FileRead(kThumbQueue), "/volume1/photo/a\n");
    EXPECT_EQ(FileRead(kFlvQueue), "/volume1/photo/a/c.mp4\n");
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(PhotoQueueTest, ADirectoryGoesToBothQueuesWithOneSignal) {
    DaemonRun(kThumbPidFile);
    DaemonRun(kFlvPidFile);
    PhotoConvertQueueAdd("/volume1/photo", 3);
    EXPECT_EQ(signals, 1);
    EXPECT_EQ(FileRead(kThumbQueue), "/volume1/photo\n");
    EXPECT_EQ(FileRead(kFlvQueue), "/volume1/photo\n");
}

TEST_F(PhotoQueueTest, AnotherFileOrPathIsNotQueued) {
    DaemonRun(kThumbPidFile);
    DaemonRun(kFlvPidFile);
    FileWrite("/volume1/photo/a.mkv", "x");
    PhotoConvertQueueAdd(nullptr, 3);
    PhotoConvertQueueAdd("/volume1/photo/none.jpg", 3);
    PhotoConvertQueueAdd("/dev/null", 3);
    PhotoConvertQueueAdd("/volume1/photo/a.mkv", 3);
    EXPECT_EQ(FileRead(kThumbQueue) + FileRead(kFlvQueue), "");
    EXPECT_EQ(signals, 0);
}

TEST_F(PhotoQueueTest, TheFlvQueueNeedsBothSwitches) {
    DaemonRun(kThumbPidFile);
    DaemonRun(kFlvPidFile);
    FileWrite("/volume1/photo/c.mp4", "x");
    supportcinehall = 0;
    PhotoConvertQueueAdd("/volume1/photo/c.mp4", 3);
    supportcinehall = 1;
    supportphoto = 0;
    PhotoConvertQueueAdd("/volume1/photo/c.mp4", 3);
    PhotoConvertQueueAdd("/volume1/photo", 3);
    EXPECT_EQ(FileRead(kThumbQueue) + FileRead(kFlvQueue), "");
    EXPECT_EQ(signals, 0);
}

TEST_F(PhotoQueueTest, OnlyWhatIsAskedForIsQueued) {
    DaemonRun(kThumbPidFile);
    DaemonRun(kFlvPidFile);
    PhotoConvertQueueAdd("/volume1/photo", kConvertThumbnail);
    EXPECT_EQ(FileRead(kFlvQueue), "");
    PhotoConvertQueueAdd("/volume1/photo", kConvertFlv);
    EXPECT_EQ(FileRead(kFlvQueue), "/volume1/photo\n");
    PhotoConvertQueueAdd("/volume1/photo", 0);
    EXPECT_EQ(signals, 2);
}

TEST_F(PhotoQueueTest, DaemonsThatDoNotRunGetNothing) {
    PhotoConvertQueueAdd("/volume1/photo", 3);
    EXPECT_EQ(FileRead(kThumbQueue) + FileRead(kFlvQueue), "");
    EXPECT_EQ(LogTakeTexts(), (Texts{"photo_index.c# Thumb daemon is not running .....\n",
                                     "photo_index.c# FLV daemon is not running .....\n"}));
}

// The signal goes to the process that was asked for last: here to process 0, the group of the caller.
TEST_F(PhotoQueueTest, TheSignalOfAThumbnailGoesToTheFlvDaemonThoughItDoesNotRun) {
    const pid_t other = fork();
    if (other == 0) {
        setpgid(0, 0);
        signal(SIGUSR1, [](int) { _exit(1); });
        sleep(30);
        _exit(0);
    }
    setpgid(other, other);
    const pid_t writer = fork();
    if (writer == 0) {
        setpgid(0, 0);
        FileWrite(kThumbPidFile, std::to_string(other));
        PhotoConvertQueueAdd("/volume1/photo", 3);
        _exit(signals);
    }
    int status = 0;
    waitpid(writer, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 1); // its own group
    EXPECT_EQ(waitpid(other, &status, WNOHANG), 0);
    kill(other, SIGKILL);
    waitpid(other, &status, 0);
    EXPECT_EQ(FileRead(kThumbQueue), "/volume1/photo\n");
}

TEST_F(PhotoQueueTest, RowsAreCommittedBeforeTheSignal) {
    DaemonRun(kThumbPidFile);
    VELUIndexRunBegin();
    PhotoDBExec("insert into video_desc (path) values ('/volume1/photo/a')");
    PhotoConvertQueueAdd("/volume1/photo", kConvertThumbnail);
    VELUDB *db = VELUDBOpen("sqlite:/var/lib/velu/photo.db");
    VELUDBResult *rows = nullptr;
    VELUDBExecute(db, "select path from video_desc", &rows);
    EXPECT_EQ(VELUDBRowCount(rows), 1);
    VELUDBFreeResult(rows);
    VELUDBClose(db);
    VELUIndexRunEnd();
}
