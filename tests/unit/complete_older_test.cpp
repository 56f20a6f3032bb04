// SPDX-License-Identifier: GPL-2.0-or-later
//
// What an older revision of the readers has read is read again under the rules `complete`, when nothing waits.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "daemon/queue_older.h"
#include "platform/clock.h"
#include "platform/index/run_state.h"
#include "platform/limits.h"
#include "platform/veludb.h"
#include "reader/protocol/message.h"
#include "tests/unit/complete_changes.h"
#include "tests/unit/log_capture.h"

namespace fs = std::filesystem;

namespace {

using CompleteChanges = CompleteFixture;

// Has the one stamp of this revision of the readers be of an older one.
void StampAge() {
    const DatabaseHandle db(VELUDBOpen("sqlite:/var/lib/velu/mediaserver.db"));
    const std::string revision = "r" + std::to_string(kReaderRevision);
    const std::string sql = "update file_state set stamp = replace(stamp, ' " + revision +
                            "', ' r0') where stamp like '% " + revision + "'";
    EXPECT_EQ(VELUDBExecute(db.get(), sql.c_str(), nullptr), 1);
}

} // namespace

TEST_F(CompleteChanges, WhatAnOlderRevisionHasReadIsReadWhenNothingWaits) {
    FileWrite(kSong, "title another");
    FileWrite("/volume1/music/other.mp3", "title other");
    const auto older = [](const std::string &path) {
        KnownSave(path, "as it was");
        StampAge();
    };
    older(kSong);
    older("/volume1/music/other.mp3");
    Walk();
    EXPECT_EQ(Title("music", kSong), "as it was");
    OlderFilesBegin();
    EXPECT_EQ(OlderFilesRead([] { return true; }), 0u) << "requests wait";
    EXPECT_EQ(Title("music", kSong), "as it was");
    EXPECT_EQ(OlderFilesRead([] { return false; }), 2u);
    EXPECT_EQ(Title("music", kSong), "another");
    EXPECT_EQ(Title("music", "/volume1/music/other.mp3"), "other");
    EXPECT_EQ(OlderFilesRead([] { return false; }), 0u);
    EXPECT_TRUE(HasNoChild());
    RulesSet("appliance");
    older(kSong);
    OlderFilesBegin();
    EXPECT_EQ(OlderFilesRead([] { return false; }), 0u);
}

TEST_F(CompleteChanges, NoCatalogueIsMadeToLookForWhatAnOlderRevisionHasRead) {
    const std::string catalogue = "/var/lib/velu/mediaserver.db";
    fs::remove(catalogue);
    static int64_t now;
    now = 0;
    run_clock = [] { return now; };
    OlderFilesBegin();
    LogTake();
    EXPECT_EQ(OlderFilesRead([] { return false; }), 0u);
    EXPECT_FALSE(fs::exists(catalogue));
    EXPECT_TRUE(LogTake().empty());
    FileWrite(kSong, "title another");
    KnownSave(kSong, "as it was");
    StampAge();
    EXPECT_EQ(OlderFilesRead([] { return false; }), 0u) << "it is looked for now and then";
    now += kQueueRetryLast;
    EXPECT_EQ(OlderFilesRead([] { return false; }), 1u);
    EXPECT_EQ(Title("music", kSong), "another");
    run_clock = MonotonicMilliseconds;
}

TEST_F(CompleteChanges, WhatAnOlderRevisionHasReadIsReadForSomeTimeAtOnce) {
    FileWrite(kSong, "title another");
    KnownSave(kSong, "as it was");
    static int64_t now;
    static int64_t step;
    now = 0;
    step = kOlderFilesMilliseconds + 1;
    run_clock = [] { return now += step; };
    OlderFilesBegin();
    EXPECT_EQ(OlderFilesRead([] { return false; }), 0u) << "the time is over";
    step = 0;
    StampAge();
    EXPECT_EQ(OlderFilesRead([] { return false; }), 1u);
    EXPECT_EQ(Title("music", kSong), "another");
    run_clock = MonotonicMilliseconds;
}
