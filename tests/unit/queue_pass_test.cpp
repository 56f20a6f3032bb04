// SPDX-License-Identifier: GPL-2.0-or-later
//
// Requests whose catalogue is away: exactly those wait, in the kept file, and what touches them.
#include "daemon/queue_pass.h"

#include <chrono>

#include "catalogue/features.h"
#include "daemon/queue.h"
#include "daemon/queue_kept.h"
#include "platform/limits.h"
#include "tests/unit/catalogue_fixture.h"
#include "tests/unit/test_files.h"

namespace {

constexpr char kMediaAway[] = "mediadb=\"sqlite:/proc/none/m.db\"\n";
constexpr char kPhotoAway[] = "photodb=\"sqlite:/proc/none/p.db\"\n";

class QueuePasses : public SqliteStore {
protected:
    void SetUp() override {
        SandboxReset();
        SqliteStore::SetUp();
        supportphoto = 1;
        for (const char *converter : {"/var/run/velumkthumbd.pid", "/var/run/velumkflvd.pid"})
            std::filesystem::remove(converter);
        for (const char *path : {"music/1.pcm", "music/2.pcm", "music/3.pcm", "photo/1.jpg", "photo/2.jpg"})
            FileWrite(std::string("/volume1/") + path, "x");
    }
    void TearDown() override {
        supportphoto = 0;
        SqliteStore::TearDown();
        SandboxReset();
    }

    static void Configure(const std::string &text) { std::ofstream(kConfig) << text; }

    static QueueLeft Run(const std::string &lines) {
        FileWrite(kQueueFile, lines);
        return IndexQueueProcess(QueueOccasion::queued);
    }
    static QueueLeft Again() { return IndexQueueProcess(QueueOccasion::again); }

    static std::string Kept() { return FileRead(kKeptFile); }
    static bool IsThere(const char *path) { return std::filesystem::exists(path); }
};

TEST_F(QueuePasses, WithoutAFailureNothingIsKept) {
    const QueueLeft left = Run("a:/volume1/music/1.pcm\na:/volume1/photo/1.jpg\nnonsense\n");
    EXPECT_FALSE(left.waits);
    EXPECT_FALSE(IsThere(kKeptFile));
    EXPECT_FALSE(IsThere(kKeptFileNew));
    EXPECT_FALSE(IsThere(kQueueWorkingCopy));
    EXPECT_EQ(Paths("music"), "/volume1/music/1.pcm");
    EXPECT_EQ(PhotoPaths("photo_image"), "/volume1/photo/1.jpg");
}

TEST_F(QueuePasses, MusicDoesNotWaitForPhotos) {
    Configure(kPhotoAway);
    LogCatcher log;
    const QueueLeft left = Run("a:/volume1/music/1.pcm\na:/volume1/photo/1.jpg\na:/volume1/music/2.pcm\n"
                               "T:photo_share\nU:photo\na:/volume1/music/3.pcm\n");
    EXPECT_TRUE(left.waits);
    EXPECT_TRUE(left.waits_newly);
    EXPECT_EQ(Kept(), "0 a:/volume1/photo/1.jpg\n0 T:photo_share\n0 U:photo\n");
    EXPECT_EQ(Paths("music"), "/volume1/music/1.pcm|/volume1/music/2.pcm|/volume1/music/3.pcm");
    EXPECT_FALSE(IsThere(kQueueWorkingCopy));
    EXPECT_EQ(log.Lines("Failed to open the database of the photo catalogue.").size(), 1U);
    EXPECT_EQ(
        log.Lines(std::string("Failed to store all rows. Requests kept in ") + kKeptFile + ": 3.").size(),
        1U);

    EXPECT_FALSE(Again().waits_newly);
    EXPECT_FALSE(Run("a:/volume1/music/1.pcm\n").waits_newly);
    EXPECT_TRUE(IsThere(kKeptFile));

    Configure("");
    EXPECT_FALSE(Again().waits);
    EXPECT_FALSE(IsThere(kKeptFile));
    EXPECT_EQ(PhotoPaths("photo_image"), "/volume1/photo/1.jpg|/volume1/photo/2.jpg");
}

TEST_F(QueuePasses, WhatTouchesAKeptRequestWaitsUntriedInItsOrder) {
    Configure(kPhotoAway);
    EXPECT_TRUE(Run("a:/volume1/photo/1.jpg\n").waits);
    Configure(""); // but the request before it is not done yet when these come to their turn
    FileWrite(kKeptFile, "5 a:/volume1/photo/1.jpg\n7 N:/volume1/photo/3.jpg:/volume1/photo/1.jpg\n");
    Configure(kPhotoAway);
    EXPECT_TRUE(Run("d:/volume1/photo/3.jpg\na:/volume1/music/1.pcm\nA:/volume1\nd:/volume1/music/9.pcm\n")
                    .waits_newly);
    EXPECT_EQ(Kept().substr(Kept().find('N')),
              "N:/volume1/photo/3.jpg:/volume1/photo/1.jpg\n0 d:/volume1/photo/3.jpg\n0 A:/volume1\n0 "
              "d:/volume1/music/9.pcm\n");
    EXPECT_EQ(Paths("music"), "/volume1/music/1.pcm") << "it came before what had to wait";
}

TEST_F(QueuePasses, ARowThatIsRefusedForItselfIsNotKept) {
    ASSERT_EQ(Save(0, "/first"), 0);
    ASSERT_EQ(Peer().Exec("create trigger bad before insert on music when new.path like '%2.pcm' begin "
                          "select raise(rollback, 'bad row'); end"),
              0);
    const QueueLeft left = Run("a:/volume1/music/1.pcm\na:/volume1/music/2.pcm\na:/volume1/music/3.pcm\n");
    EXPECT_FALSE(left.waits);
    EXPECT_FALSE(IsThere(kKeptFile));
    EXPECT_EQ(Paths("music"), "/first|/volume1/music/1.pcm|/volume1/music/3.pcm");
}

TEST_F(QueuePasses, ALockIsWaitedForOnceAndTheRequestsAreKept) {
    ASSERT_EQ(Save(0, "/first"), 0);
    sqlite_busy_milliseconds = 10;
    {
        Peer peer;
        ASSERT_EQ(VELUDBBegin(peer.db), 0);
        LogCatcher log;
        EXPECT_TRUE(Run("A:/volume1/music\na:/volume1/photo/1.jpg\nT:photo_image\n").waits);
        EXPECT_EQ(log.Lines("store.c").size(), 2U) << "one at once, one in the end";
    }
    EXPECT_EQ(Kept(), "0 A:/volume1/music\n0 a:/volume1/photo/1.jpg\n0 T:photo_image\n");
    EXPECT_FALSE(Again().waits);
    EXPECT_EQ(Paths("music"), "/first|/volume1/music/1.pcm|/volume1/music/2.pcm|/volume1/music/3.pcm");
    EXPECT_EQ(PhotoPaths("photo_image"), "") << "emptied after the row came";
}

TEST_F(QueuePasses, AShareThatIsRemovedLosesItsRowsHoweverItIsWritten) {
    for (const char *line : {"D:/volume1/music\n", "D:/volume1/music/\n", "D:/volume1/music//\n"}) {
        FileWrite("/volume1/music/1.pcm", "x");
        Run("a:/volume1/music/1.pcm\n");
        EXPECT_EQ(Paths("music"), "/volume1/music/1.pcm");
        std::filesystem::remove_all("/volume1/music");
        Run(line);
        EXPECT_EQ(Paths("music"), "") << line;
    }
}

TEST_F(QueuePasses, AFileThatExistsKeepsItsRowsHoweverItIsWritten) {
    Run("a:/volume1/music/1.pcm\na:/volume1/photo/1.jpg\n");
    for (const std::string path : {"/volume1/music/1.pcm", "/volume1/photo/1.jpg"}) {
        for (const std::string command : {"D:", "d:"}) {
            for (const std::string end : {"", "/", "//"}) {
                LogCatcher log;
                Run(command + path + end + "\n");
                EXPECT_EQ(log.Lines("Dir or File exists (" + path + end + ")").size(), 1U) << command << end;
            }
        }
    }
    EXPECT_EQ(Paths("music"), "/volume1/music/1.pcm");
    EXPECT_EQ(Paths("photo"), "/volume1/photo/1.jpg");
    EXPECT_EQ(PhotoPaths("photo_image"), "/volume1/photo/1.jpg");
}

TEST_F(QueuePasses, EqualRequestsAreKeptOnce) {
    Configure(kMediaAway);
    Run("a:/volume1/music/1.pcm\na:/volume1/music/2.pcm\na:/volume1/music/1.pcm\n");
    EXPECT_FALSE(Run("a:/volume1/music/2.pcm\n").waits_newly);
    EXPECT_EQ(Kept(), "0 a:/volume1/music/1.pcm\n0 a:/volume1/music/2.pcm\n");
}

TEST_F(QueuePasses, ALastLineWithoutItsNewlineIsKeptAsALine) {
    Configure(kMediaAway);
    Run("a:/volume1/music/1.pcm\na:/volume1/music/2.pcm");
    EXPECT_EQ(Kept(), "0 a:/volume1/music/1.pcm\n0 a:/volume1/music/2.pcm\n");
}

TEST_F(QueuePasses, ADamagedKeptFileCostsItsDamage) {
    FileWrite(kKeptFile, "1 a:/volume1/music/1.pcm\ngarbage\n2 a:/volume1/music/2.pcm\n3 a:/volume1/mus");
    LogCatcher log;
    EXPECT_FALSE(Again().waits);
    EXPECT_EQ(Paths("music"), "/volume1/music/1.pcm|/volume1/music/2.pcm");
    EXPECT_EQ(log.Lines("is damaged: 2 of its lines are lost.").size(), 1U);
    EXPECT_FALSE(IsThere(kKeptFile));
}

TEST_F(QueuePasses, AfterSevenDaysARequestIsGivenUpInWords) {
    static_assert(kQueueKeptDaysMax == 7);
    Configure(kPhotoAway);
    const auto keep = [](int64_t seconds) {
        FileWrite(kKeptFile, std::to_string(seconds) + " a:/volume1/photo/1.jpg\n5 a:/volume1/photo/2.jpg\n");
    };
    constexpr int64_t kMax = kQueueKeptMillisecondsMax / 1000;
    LogCatcher log;
    keep(kMax - 3600);
    EXPECT_TRUE(Again().waits);
    EXPECT_NE(Kept().find(" a:/volume1/photo/1.jpg\n"), std::string::npos);
    EXPECT_TRUE(log.Lines("is given up").empty());
    keep(kMax);
    EXPECT_TRUE(Again().waits);
    EXPECT_EQ(Kept().find("1.jpg"), std::string::npos) << Kept();
    EXPECT_NE(Kept().find(" a:/volume1/photo/2.jpg\n"), std::string::npos);
    EXPECT_EQ(log.Lines("[a:/volume1/photo/1.jpg] could not be stored for 7 days and is given up.").size(),
              1U);
    keep(kMax);
    Configure("");
    EXPECT_FALSE(Again().waits) << "whatever its age, it is tried";
    EXPECT_EQ(PhotoPaths("photo_image"), "/volume1/photo/1.jpg|/volume1/photo/2.jpg");
}

TEST_F(QueuePasses, WhenTheKeptFileCannotBeWrittenTheCopyStays) {
    Configure(kMediaAway);
    std::filesystem::create_directories(std::string(kKeptFileNew) + "/in the way");
    LogCatcher log;
    EXPECT_TRUE(Run("a:/volume1/music/1.pcm\n").waits);
    EXPECT_EQ(FileRead(kQueueWorkingCopy), "a:/volume1/music/1.pcm\n");
    EXPECT_FALSE(IsThere(kKeptFile));
    EXPECT_EQ(log.Lines(std::string("Failed to write ") + kKeptFile).size(), 1U);
    EXPECT_EQ(log.Lines(std::string(kQueueWorkingCopy) + " is kept for the next run.").size(), 1U);
    FileWrite(kQueueFile, "a:/volume1/music/2.pcm\n");
    Configure("");
    const QueueLeft left = Again();
    EXPECT_FALSE(left.waits);
    EXPECT_TRUE(left.queue_waits);
    EXPECT_EQ(Paths("music"), "/volume1/music/1.pcm");
    EXPECT_FALSE(IsThere(kQueueWorkingCopy));
    std::filesystem::remove_all(kKeptFileNew);
}

TEST_F(QueuePasses, ACopyThatIsInTheWayForSevenDaysIsGivenUp) {
    static int64_t now;
    now = MonotonicMilliseconds();
    kept_clock = [] { return now; };
    Configure(kMediaAway);
    std::filesystem::create_directories(std::string(kKeptFileNew) + "/in the way");
    LogCatcher log;
    EXPECT_TRUE(Run("a:/volume1/music/1.pcm\n").waits);
    now += kQueueKeptMillisecondsMax - 1;
    Again();
    EXPECT_TRUE(IsThere(kQueueWorkingCopy));
    now += 1;
    Again();
    EXPECT_FALSE(IsThere(kQueueWorkingCopy));
    EXPECT_EQ(log.Lines("Failed to store all rows for 7 days.").size(), 1U);
    kept_clock = MonotonicMilliseconds;
    std::filesystem::remove_all(kKeptFileNew);
}

TEST_F(QueuePasses, AKeptFileThatCannotBeReadStaysAndHoldsNobodyUp) {
    std::filesystem::create_directories(std::string(kKeptFile) + "/in the way");
    LogCatcher log;
    QueueLeft left = Run("a:/volume1/music/1.pcm\n");
    EXPECT_TRUE(left.waits);
    EXPECT_EQ(Paths("music"), "/volume1/music/1.pcm");
    EXPECT_FALSE(IsThere(kQueueWorkingCopy));
    EXPECT_EQ(log.Lines(std::string("Failed to read ") + kKeptFile).size(), 1U);
    Configure(kMediaAway);
    left = Run("a:/volume1/music/2.pcm\n");
    EXPECT_TRUE(IsThere(kQueueWorkingCopy)) << "there is no other place for it";
    Configure("");
    std::filesystem::remove_all(kKeptFile);
    EXPECT_FALSE(Again().waits);
    EXPECT_EQ(Paths("music"), "/volume1/music/1.pcm|/volume1/music/2.pcm");
}

// What a writer appends that has had the queue open all the time.
TEST_F(QueuePasses, LinesThatCameBehindTheLastLookAreKeptBeforeTheyAreDone) {
    FileWrite(kKeptFile, "9 a:/volume1/music/3.pcm\n");
    FileWrite(kQueueWorkingCopy, "a:/volume1/music/1.pcm\n");
    QueueReader reader;
    ASSERT_TRUE(reader.Open(kQueueWorkingCopy));
    std::string_view line;
    while (reader.Next(&line))
        continue;
    std::ofstream(kQueueWorkingCopy, std::ios::app)
        << "a:/volume1/music/2.pcm\nnonsense\na:/volume1/photo/1.jpg";
    std::filesystem::remove(kQueueWorkingCopy);
    LogCatcher log;
    EXPECT_TRUE(QueueLateLinesKeep(&reader));
    EXPECT_NE(Kept().find(" a:/volume1/music/3.pcm\n0 a:/volume1/music/2.pcm\n0 a:/volume1/photo/1.jpg\n"),
              std::string::npos)
        << Kept();
    EXPECT_EQ(log.Lines("Bad format [nonsense].").size(), 1U);
    EXPECT_EQ(log.Lines("Warning! No new line here.").size(), 1U);
    EXPECT_FALSE(reader.Next(&line));
}

TEST_F(QueuePasses, LinesThatCameLateAndCanNeitherBeStoredNorKeptAreToldAsLost) {
    FileWrite(kQueueWorkingCopy, "a:/volume1/music/1.pcm\n");
    QueueReader reader;
    ASSERT_TRUE(reader.Open(kQueueWorkingCopy));
    std::filesystem::remove(kQueueWorkingCopy);
    Configure(kMediaAway);
    std::filesystem::create_directories(std::string(kKeptFileNew) + "/in the way");
    LogCatcher log;
    EXPECT_FALSE(QueueLateLinesKeep(&reader));
    EXPECT_FALSE(QueuePass(&reader, false).copy_done);
    EXPECT_TRUE(log.Lines("is kept for the next run.").empty());
    EXPECT_EQ(
        log.Lines("The last requests of " + std::string(kQueueWorkingCopy) + ", which came late, are lost.")
            .size(),
        1U);
    std::filesystem::remove_all(kKeptFileNew);
}

// Requests that are not tried cost a look at the catalogue's state, and no memory but for what waits.
TEST_F(QueuePasses, ManyRequestsWhoseCatalogueIsAwayAreKeptInNoTime) {
    constexpr int kRequests = 200'000;
    std::string lines;
    for (int i = 0; i < kRequests; ++i)
        lines += "d:/volume1/music/" + std::to_string(i % 100) + "/" + std::to_string(i) + ".pcm\n";
    Configure(kMediaAway);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(Run(lines).waits);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
    const std::string kept = Kept();
    EXPECT_EQ(std::count(kept.begin(), kept.end(), '\n'), kRequests);
    std::filesystem::remove(kKeptFile);
}

} // namespace
