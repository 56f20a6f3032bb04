// SPDX-License-Identifier: GPL-2.0-or-later
#include "log_listener.h"
#include "platform/velusdk.h"

#include <gtest/gtest.h>

namespace {

// The line behind the time and the program's name.
std::string MessageOf(const std::string &line) {
    const size_t begin = line.find("event ");
    return begin == std::string::npos ? line : line.substr(begin);
}

} // namespace

TEST(SdkEventLog, OneNoticeLineWithNumberAndPath) {
    const LogListener log;
    ASSERT_TRUE(log.ready);
    VELULogSet1(2, 3, 0x11B00510, "/volume1/music/a %s b.mp3", "", "", "");
    const std::string line = log.Next();
    EXPECT_EQ(line.rfind("<" + std::to_string(LOG_USER | LOG_NOTICE) + ">", 0), 0u) << line;
    EXPECT_EQ(MessageOf(line), "event 0x11B00510 (class 2, level 3) /volume1/music/a %s b.mp3");
    EXPECT_TRUE(log.Quiet());
}

TEST(SdkEventLog, OnlyArgumentsThatAreThere) {
    const LogListener log;
    ASSERT_TRUE(log.ready);
    VELULogSet1(1, 1, 0x1F, "a", nullptr, "", "d");
    EXPECT_EQ(MessageOf(log.Next()), "event 0x0000001F (class 1, level 1) a d");
    VELULogSet1(1, 1, 0xFFFFFFFF, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(MessageOf(log.Next()), "event 0xFFFFFFFF (class 1, level 1)");
    VELULogSet1(1, 1, 0, "a", "b", "c", "d");
    EXPECT_EQ(MessageOf(log.Next()), "event 0x00000000 (class 1, level 1) a b c d");
}

// A path of the greatest length the system allows arrives whole.
TEST(SdkEventLog, LongPath) {
    const LogListener log;
    ASSERT_TRUE(log.ready);
    const std::string path(4095, 'p');
    VELULogSet1(2, 3, 0x11B00510, path.c_str(), "", "", "");
    EXPECT_NE(log.Next().find(path), std::string::npos);
}
