// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/pid_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <atomic>

#include "child_process.h"
#include "log_catcher.h"
#include "platform/file.h"
#include "test_files.h"

namespace {

constexpr char kElsewhere[] = "/var/run/veluindexd.elsewhere";
constexpr char kAlive[] = "Daemon alive. No need to start";
constexpr uid_t kNobody = 65534;

class PidFileTest : public testing::Test {
protected:
    PidFileTest() { umask(0); }
    ~PidFileTest() override {
        umask(022);
        unlink(kPidFile);
        rmdir(kPidFile);
        unlink(kElsewhere);
    }

    static std::string OwnId() { return std::to_string(getpid()); }

    LogCatcher log_;
};

FdHandle Locked(const char *path) {
    FdHandle file(open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    EXPECT_EQ(flock(file.get(), LOCK_EX | LOCK_NB), 0);
    return file;
}

bool IsLocked(const char *path) {
    const FdHandle other(open(path, O_RDONLY | O_CLOEXEC));
    return other && flock(other.get(), LOCK_EX | LOCK_NB) != 0;
}

ino_t Inode(const char *path) {
    struct stat status = {};
    stat(path, &status);
    return status.st_ino;
}

// A process that does not run any more.
std::string EndedId() {
    const pid_t child = ChildStart([] { return 0; });
    ChildStatus(child);
    return std::to_string(child);
}

} // namespace

TEST_F(PidFileTest, IsLockedAndHoldsTheId) {
    FdHandle file;
    ASSERT_EQ(PidFileTake(&file), PidFileEnd::taken);
    EXPECT_EQ(FileRead(kPidFile), OwnId());
    EXPECT_TRUE(IsLocked(kPidFile));
    EXPECT_TRUE(IsFileAt(kPidFile, file.get()));
    struct stat status = {};
    EXPECT_EQ(stat(kPidFile, &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644u);
    EXPECT_EQ(status.st_nlink, 1u);
    file.Close();
    EXPECT_FALSE(IsLocked(kPidFile));
    EXPECT_TRUE(log_.Quiet());
}

// One that looks all the time finds either no file or the whole number.
TEST_F(PidFileTest, IsNeverFoundEmpty) {
    constexpr int kFinds = 100;
    const pid_t maker = ChildStart([] {
        for (;;) {
            FdHandle file;
            if (PidFileTake(&file) != PidFileEnd::taken)
                return 1;
            unlink(kPidFile);
        }
    });
    const std::string id = std::to_string(maker);
    int whole = 0;
    for (int found = 0; found < kFinds && waitpid(maker, nullptr, WNOHANG) == 0;) {
        const FdHandle file = OpenForReading(kPidFile);
        char text[32];
        const ssize_t length = file ? FileReadSome(file, text, sizeof text) : -1;
        if (length < 0)
            continue;
        ++found;
        whole += std::string_view(text, static_cast<size_t>(length)) == id;
    }
    kill(maker, SIGKILL);
    ChildStatus(maker);
    EXPECT_EQ(whole, kFinds);
}

TEST_F(PidFileTest, LeftOverGivesWay) {
    for (const std::string &text : {EndedId(), std::string("no number"), std::string()}) {
        FileWrite(kPidFile, text);
        const FdHandle old = OpenForReading(kPidFile);
        FdHandle file;
        ASSERT_EQ(PidFileTake(&file), PidFileEnd::taken);
        EXPECT_EQ(FileRead(kPidFile), OwnId());
        EXPECT_FALSE(IsFileAt(kPidFile, old.get())) << "is written in the sight of its readers";
    }
    EXPECT_TRUE(log_.Quiet());
}

TEST_F(PidFileTest, OneThatNamesTheProcessItselfGivesWay) {
    FileWrite(kPidFile, OwnId());
    FdHandle file;
    EXPECT_EQ(PidFileTake(&file), PidFileEnd::taken);
    EXPECT_TRUE(IsLocked(kPidFile));
}

TEST_F(PidFileTest, AnotherDaemonStays) {
    const std::string id = std::to_string(getppid());
    FileWrite(kPidFile, id);
    for (const bool is_locked : {false, true}) {
        const FdHandle other = is_locked ? Locked(kPidFile) : FdHandle();
        FdHandle file;
        EXPECT_EQ(PidFileTake(&file), PidFileEnd::others);
        EXPECT_FALSE(file);
        EXPECT_EQ(FileRead(kPidFile), id);
        EXPECT_EQ(log_.Next(), kAlive);
    }
}

TEST_F(PidFileTest, LockThatNeverGoesMeansAnother) {
    const FdHandle other = Locked(kPidFile);
    FdHandle file;
    EXPECT_EQ(PidFileTake(&file), PidFileEnd::others);
    EXPECT_EQ(log_.Next(), kAlive);
    EXPECT_EQ(FileRead(kPidFile), "");
}

// As that of a killed daemon whose child lives for a moment longer.
TEST_F(PidFileTest, LockThatGoesSoonIsWaitedFor) {
    FdHandle other = Locked(kPidFile);
    const pid_t child = ChildStart([] {
        usleep(200'000);
        return 0;
    });
    other.Close();
    EXPECT_TRUE(IsLocked(kPidFile));
    FdHandle file;
    EXPECT_EQ(PidFileTake(&file), PidFileEnd::taken);
    EXPECT_EQ(FileRead(kPidFile), OwnId());
    ChildStatus(child);
}

TEST_F(PidFileTest, OfManyAtOnceOneTakesIt) {
    constexpr int kStarts = 8;
    struct Case {
        bool left_over;
        uid_t user; // who, unless root, cannot make it anew
    };
    for (const Case &now : {Case{false, 0}, Case{true, 0}, Case{true, kNobody}}) {
        std::atomic<bool> *go = SharedMake<std::atomic<bool>>();
        std::atomic<int> *taken = SharedMake<std::atomic<int>>();
        std::atomic<int> *others = SharedMake<std::atomic<int>>();
        if (now.left_over)
            FileWrite(kPidFile, "no number");
        ASSERT_TRUE(!now.left_over || chown(kPidFile, now.user, now.user) == 0);
        std::vector<pid_t> starts;
        for (int start = 0; start < kStarts; ++start)
            starts.push_back(ChildStart([=] {
                FdHandle file;
                if (setuid(now.user) != 0)
                    return 1;
                while (!*go)
                    sched_yield();
                ++*(PidFileTake(&file) == PidFileEnd::taken ? taken : others);
                pause(); // it has the lock until it ends
                return 0;
            }));
        *go = true;
        for (int look = 0; look < 1000 && *taken + *others < kStarts; ++look)
            usleep(10'000);
        EXPECT_EQ(*taken, 1) << now.left_over << now.user;
        EXPECT_EQ(*others, kStarts - 1) << now.left_over << now.user;
        for (const pid_t start : starts) {
            kill(start, SIGKILL);
            ChildStatus(start);
        }
        unlink(kPidFile);
    }
}

TEST_F(PidFileTest, LinkIsFollowedAndWrittenInPlace) {
    for (const char *before : {"", "1234567 and more"}) {
        if (*before != '\0')
            FileWrite(kElsewhere, before);
        ASSERT_EQ(symlink(kElsewhere, kPidFile), 0);
        const ino_t inode = Inode(kElsewhere);
        FdHandle file;
        ASSERT_EQ(PidFileTake(&file), PidFileEnd::taken);
        EXPECT_EQ(FileRead(kElsewhere), OwnId());
        EXPECT_TRUE(*before == '\0' || Inode(kElsewhere) == inode);
        EXPECT_TRUE(std::filesystem::is_symlink(kPidFile));
        EXPECT_TRUE(IsLocked(kElsewhere));
        unlink(kPidFile);
        unlink(kElsewhere);
    }
    EXPECT_TRUE(log_.Quiet());
}

TEST_F(PidFileTest, IdThatCannotBeWrittenIsLogged) {
    ASSERT_EQ(symlink("/dev/full", kPidFile), 0);
    FdHandle file;
    EXPECT_EQ(PidFileTake(&file), PidFileEnd::taken);
    EXPECT_TRUE(file);
    EXPECT_EQ(log_.Lines("fprintf pid failed. (No space left on device)").size(), 1u);
}

TEST_F(PidFileTest, FolderInItsPlaceFails) {
    ASSERT_EQ(mkdir(kPidFile, 0755), 0);
    FdHandle file;
    EXPECT_EQ(PidFileTake(&file), PidFileEnd::failed);
    EXPECT_EQ(log_.Lines("Failed to create /var/run/veluindexd.pid. (Is a directory)").size(), 1u);
}

// Where the folder is root's, the file that was made for the user is taken again and again.
TEST_F(PidFileTest, UserWithoutTheFolderWritesInPlace) {
    FileWrite(kPidFile, EndedId() + " of the one before");
    ASSERT_EQ(chown(kPidFile, kNobody, kNobody), 0);
    const ino_t inode = Inode(kPidFile);
    const int status = ChildRunStatus([] {
        FdHandle file;
        if (setgid(kNobody) != 0 || setuid(kNobody) != 0 || PidFileTake(&file) != PidFileEnd::taken)
            return 1;
        return FileRead(kPidFile) == OwnId() && IsLocked(kPidFile) ? 0 : 2;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Inode(kPidFile), inode);
}
