// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_away.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "daemon/queue_kept.h"
#include "platform/clock.h"
#include "platform/limits.h"
#include "platform/veluindex.h"
#include "tests/unit/catalogue_fixture.h"
#include "tests/unit/log_catcher.h"

namespace {

constexpr char kNowhere[] = "=\"sqlite:/proc/none/x.db\"\n";
constexpr char kMediaLine[] = "Failed to open the database of the media catalogue.";
constexpr char kPhotoLine[] = "Failed to open the database of the photo catalogue.";
constexpr char kKeptLine[] = "Requests kept in /var/spool/velu_indexing_queue.kept: ";

int64_t now;

class QueueAway : public SqliteStore {
protected:
    void SetUp() override {
        SqliteStore::SetUp();
        now = 0;
        kept_clock = [] { return now; };
        AwayForget();
    }
    void TearDown() override {
        AwayForget();
        kept_clock = MonotonicMilliseconds;
        SqliteStore::TearDown();
    }

    static void Configure(const std::string &text) { std::ofstream(kConfig) << text; }

    // What the log gets of a pass with one run, which does a thing; so many requests are kept then.
    template <typename Do>
    static LogCatcher Pass(size_t kept, Do in_run) {
        LogCatcher log;
        VELUIndexRunBegin();
        AwayKnow();
        in_run();
        VELUIndexRunEnd();
        AwayNote();
        AwayTell(kept);
        return log;
    }

    // A pass that writes to both catalogues.
    static LogCatcher Pass(size_t kept) {
        return Pass(kept, [] {
            Save(0, "/volume1/music/1.pcm");
            VELUIndexPhotoUpdateVideoStatus("/volume1/photo/1.avi");
        });
    }

    // The seconds, of so many, after which a pass brings the store's line. There is a pass each second.
    static std::vector<int> SecondsTold(int seconds) {
        std::vector<int> told;
        for (int second = 1; second <= seconds; ++second) {
            now += 1000;
            if (!Pass(1).Lines(kMediaLine).empty())
                told.push_back(second);
        }
        return told;
    }
};

TEST_F(QueueAway, NothingIsToldWhileAllIsThere) {
    EXPECT_TRUE(Pass(0).Quiet());
    now += kQueueRetryLast;
    EXPECT_TRUE(Pass(0).Quiet());
}

TEST_F(QueueAway, WhatIsKeptThoughNoCatalogueIsAwayIsToldEachTime) {
    for (size_t kept = 1; kept < 3; ++kept)
        EXPECT_EQ(Pass(kept).Lines(kKeptLine + std::to_string(kept)).size(), 1u);
}

TEST_F(QueueAway, ItsBeginIsToldWithWhatIsKept) {
    Configure(std::string("mediadb") + kNowhere);
    LogCatcher log = Pass(3);
    EXPECT_EQ(log.Lines(kMediaLine).size(), 1u);
    EXPECT_EQ(log.Lines(kKeptLine + std::string("3.")).size(), 1u);
    EXPECT_TRUE(Pass(4).Quiet()) << "it is known";
}

TEST_F(QueueAway, ItsEndIsToldOnceWithWhatIsKeptStill) {
    Configure(std::string("mediadb") + kNowhere);
    Pass(3);
    Configure("");
    LogCatcher log = Pass(2);
    EXPECT_EQ(log.Lines("The media catalogue is back. " + std::string(kKeptLine) + "2.").size(), 1u);
    EXPECT_TRUE(Pass(0).Quiet());
}

TEST_F(QueueAway, InBetweenItIsToldAfterPausesThatDouble) {
    Configure(std::string("mediadb") + kNowhere);
    Pass(1);
    EXPECT_EQ(SecondsTold(160), (std::vector{10, 30, 70, 150}));
}

TEST_F(QueueAway, ThePausesHaveAnEnd) {
    Configure(std::string("mediadb") + kNowhere);
    Pass(1);
    SecondsTold(10 + 20 + 40 + 80 + 160 + 320);
    const int last = static_cast<int>(kQueueRetryLast / 1000);
    EXPECT_EQ(SecondsTold(2 * last), (std::vector{last, 2 * last}));
}

TEST_F(QueueAway, EachOfTheTwoIsToldForItself) {
    Configure(std::string("mediadb") + kNowhere);
    Pass(1);
    Configure(std::string("mediadb") + kNowhere + "photodb" + kNowhere);
    LogCatcher other = Pass(2);
    EXPECT_TRUE(other.Lines(kMediaLine).empty()) << "it is known";
    EXPECT_EQ(other.Lines(kPhotoLine).size(), 1u);
    EXPECT_EQ(other.Lines(kKeptLine + std::string("2.")).size(), 1u);
    Configure(std::string("photodb") + kNowhere);
    LogCatcher back = Pass(1);
    EXPECT_EQ(back.Lines("The media catalogue is back.").size(), 1u);
    EXPECT_EQ(back.Lines("is back.").size(), 1u);
    EXPECT_TRUE(back.Lines(kPhotoLine).empty());
}

// A run that does not touch a catalogue cannot tell whether it is back.
TEST_F(QueueAway, WhatARunHasNotAskedStaysAsItWas) {
    Configure(std::string("mediadb") + kNowhere);
    Pass(1);
    Configure("");
    EXPECT_TRUE(Pass(1, [] { VELUIndexPhotoUpdateVideoStatus("/volume1/photo/1.avi"); }).Quiet());
    EXPECT_EQ(Pass(0).Lines("The media catalogue is back.").size(), 1u);
}

TEST_F(QueueAway, APassOfManyRunsTellsWhatItEndsWith) {
    Configure(std::string("mediadb") + kNowhere);
    Pass(1);
    const auto run = [] {
        VELUIndexRunBegin();
        AwayKnow();
        Save(0, "/volume1/music/1.pcm");
        VELUIndexRunEnd();
        AwayNote();
    };
    Configure("");
    run();
    Configure(std::string("mediadb") + kNowhere);
    LogCatcher log = Pass(1);
    EXPECT_TRUE(log.Lines("is back.").empty());
    EXPECT_EQ(log.Lines(kMediaLine).size(), 1u) << "it went away anew";
}

TEST_F(QueueAway, WhatIsForgottenIsToldAnew) {
    Configure(std::string("mediadb") + kNowhere);
    Pass(1);
    AwayForget();
    EXPECT_EQ(Pass(1).Lines(kMediaLine).size(), 1u);
    AwayForget();
    Configure("");
    EXPECT_TRUE(Pass(0).Quiet()) << "nobody was told that it was away";
}

} // namespace
