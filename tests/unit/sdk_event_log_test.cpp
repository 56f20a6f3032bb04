// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/velusdk.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include "tests/unit/log_capture.h"

namespace {

// The one line that was logged.
std::string OnlyLine() {
    const std::vector<LogLine> lines = LogTake();
    EXPECT_EQ(lines.size(), 1u);
    if (lines.empty())
        return {};
    EXPECT_EQ(lines[0].priority, LOG_NOTICE);
    return lines[0].text;
}

class SdkEventLog : public testing::Test {
protected:
    SdkEventLog() { LogTake(); }
};

} // namespace

TEST_F(SdkEventLog, OneNoticeLineWithNumberAndPath) {
    VELULogSet1(2, 3, 0x11B00510, "/volume1/music/a %s b.mp3", "", "", "");
    EXPECT_EQ(OnlyLine(), "event 0x11B00510 (class 2, level 3) /volume1/music/a %s b.mp3");
}

TEST_F(SdkEventLog, OnlyArgumentsThatAreThere) {
    VELULogSet1(1, 1, 0x1F, "a", nullptr, "", "d");
    EXPECT_EQ(OnlyLine(), "event 0x0000001F (class 1, level 1) a d");
    VELULogSet1(1, 1, 0xFFFFFFFF, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(OnlyLine(), "event 0xFFFFFFFF (class 1, level 1)");
    VELULogSet1(1, 1, 0, "a", "b", "c", "d");
    EXPECT_EQ(OnlyLine(), "event 0x00000000 (class 1, level 1) a b c d");
}

// A path of the greatest length the system allows arrives whole.
TEST_F(SdkEventLog, LongPath) {
    const std::string path(4095, 'p');
    VELULogSet1(2, 3, 0x11B00510, path.c_str(), "", "", "");
    EXPECT_NE(OnlyLine().find(path), std::string::npos);
}
