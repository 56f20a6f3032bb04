// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/run_view.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "daemon/queue.h"
#include "daemon/queue_reader.h"
#include "tests/unit/test_files.h"
#include "tools/veluctl/progress.h"

namespace {

struct RunLooked : testing::Test {
    void TearDown() override {
        std::filesystem::remove(kQueueFile);
        std::filesystem::remove(kQueueWorkingCopy);
    }
};

} // namespace

TEST_F(RunLooked, ARequestWaitsInTheQueue) {
    FileWrite(kQueueFile, "a:/one\na:/two\n");
    RequestFile requests = RequestFileOpen(kQueueFile);
    const RunView view = RunLook(&requests, getpid());
    EXPECT_EQ(view.phase, Phase::queued);
    EXPECT_EQ(view.lines_total, 2);
}

// This process stands in for the daemon: it reads the working copy with the daemon's own reader.
TEST_F(RunLooked, ARunIsAtTheLineThatTheReaderHasGivenOut) {
    FileWrite(kQueueWorkingCopy, "a:/one\na:/two\na:/three\n");
    // Opened first, since of several descriptors the last is taken.
    RequestFile requests = RequestFileOpen(kQueueWorkingCopy);
    QueueReader reader;
    ASSERT_TRUE(reader.Open(kQueueWorkingCopy));
    const auto look = [&] { return RunLook(&requests, getpid()); };
    EXPECT_EQ(look().phase, Phase::running);
    std::string_view line;
    for (const char *request : {"a:/one", "a:/two", "a:/three", ""}) {
        EXPECT_EQ(reader.Next(&line), *request != '\0');
        EXPECT_EQ(look().request, request);
    }
    EXPECT_EQ(look().lines_done, 3);
    EXPECT_EQ(look().lines_total, 3);
}

TEST_F(RunLooked, LinesThatComeLateAreCounted) {
    FileWrite(kQueueWorkingCopy, "a:/one\n");
    RequestFile requests = RequestFileOpen(kQueueWorkingCopy);
    QueueReader reader;
    ASSERT_TRUE(reader.Open(kQueueWorkingCopy));
    std::string_view line;
    while (reader.Next(&line))
        EXPECT_EQ(line, "a:/one\n");
    std::ofstream(kQueueWorkingCopy, std::ios::app) << "a:/late\n";
    ASSERT_TRUE(reader.Next(&line));
    EXPECT_EQ(line, "a:/late\n");
    const RunView view = RunLook(&requests, getpid());
    EXPECT_EQ(view.lines_done, 1);
    EXPECT_EQ(view.lines_total, 2);
    EXPECT_EQ(view.request, "a:/late");
}

TEST_F(RunLooked, ACopyThatNobodyHasOpenIsKept) {
    FileWrite(kQueueWorkingCopy, "a:/one\n");
    RequestFile requests = RequestFileOpen(kQueueWorkingCopy);
    EXPECT_EQ(RunLook(&requests, 0).phase, Phase::kept);
}

TEST_F(RunLooked, AFileThatIsGoneIsDone) {
    FileWrite(kQueueWorkingCopy, "a:/one\na:/two");
    RequestFile requests = RequestFileOpen(kQueueWorkingCopy);
    std::filesystem::remove(kQueueWorkingCopy);
    const RunView view = RunLook(&requests, getpid());
    EXPECT_EQ(view.phase, Phase::done);
    EXPECT_EQ(view.lines_done, 2) << "a last line without a newline counts";
}

TEST_F(RunLooked, CountsEachByteOnce) {
    FileWrite(kQueueFile, "a\nb\nc");
    const RequestFile requests = RequestFileOpen(kQueueFile);
    LineCounter counter;
    EXPECT_EQ(LinesUpTo(&counter, requests.file, 2), 1);
    EXPECT_EQ(LinesUpTo(&counter, requests.file, 3), 2);
    EXPECT_EQ(LinesUpTo(&counter, requests.file, 5), 3);
    EXPECT_EQ(LinesUpTo(&counter, requests.file, 100), 3);
}

TEST(ProgressText, TellsLinesFilesRateAndPlace) {
    const RunView view = {Phase::running, 3, 10, "A:/volume1/music", "/volume1/music/\x1B.mp3"};
    EXPECT_EQ(ProgressText(view, 100, 150, 10), "running, line 3 of 10, 150 files catalogued (+50), 5/s");
    EXPECT_EQ(ProgressPlace(view), "A:/volume1/music > /volume1/music/\\x1B.mp3");
}

TEST(ProgressText, TellsFilesOfFilesWhereTheDaemonSaysThem) {
    RunView view = {Phase::running, 0, 1, "A:/volume1/music", ""};
    IndexRecord record = {.milliseconds = 10'000, .request = 1, .files = 500, .known = 1500, .counted = 1};
    record.folder = "/volume1/music/\x1B";
    view.record = record;
    EXPECT_EQ(ProgressText(view, 0, 0, 10), "running, 500 of 1500 files, 50/s, 20 seconds left");
    EXPECT_EQ(ProgressPlace(view), "/volume1/music/\\x1B");
    view.lines_total = 4;
    view.record->counted = 0;
    EXPECT_EQ(ProgressText(view, 0, 0, 10), "running, request 1 of 4, 500 of at least 1500 files, 50/s");
    view.record->known = 0;
    EXPECT_EQ(ProgressText(view, 0, 0, 10), "running, request 1 of 4, 500 files, 50/s");
    view.record->milliseconds = 100;
    view.record->files = 1;
    EXPECT_EQ(ProgressText(view, 0, 0, 10), "running, request 1 of 4, 1 file") << "no rate of a moment";
}

TEST(ProgressText, SaysNothingThatIsNotKnown) {
    EXPECT_EQ(ProgressText({Phase::done, 1, 1, "", ""}, -1, -1, 0), "done, line 1 of 1");
    EXPECT_EQ(ProgressText({Phase::running, 0, 1, "", ""}, 7, 5, 0.5),
              "running, line 0 of 1, 5 files catalogued (-2)");
}
