// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/quiet_interval.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/rule_set.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace {

class QuietInterval : public testing::Test {
protected:
    ~QuietInterval() override {
        std::filesystem::remove("/etc/veluinfo.conf");
        RuleSetRead();
    }

    static unsigned Of(const std::string &value, const char *rules = "complete") {
        FileWrite("/etc/veluinfo.conf", std::string("rules=\"") + rules + "\"\n" + value);
        RuleSetRead();
        LogTake();
        return QuietSeconds();
    }
};

} // namespace

TEST_F(QuietInterval, IsWhatIsConfigured) {
    EXPECT_EQ(Of(""), 10u);
    EXPECT_EQ(Of("quiet=\"1\"\n"), 1u);
    EXPECT_EQ(Of("quiet=\"60\"\n"), 60u);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(QuietInterval, IsTheUsualOneForAnythingElse) {
    for (const char *value : {"0", "61", "-1", "1s", "auto", "99999999999"}) {
        EXPECT_EQ(Of(std::string("quiet=\"") + value + "\"\n"), 10u) << value;
        EXPECT_EQ(LogTake().size(), 1u) << value;
    }
}

TEST_F(QuietInterval, IsNoMatterOfTheRulesAppliance) {
    EXPECT_EQ(Of("quiet=\"1\"\n", "appliance"), 10u);
    EXPECT_EQ(Of("quiet=\"none\"\n", "appliance"), 10u);
    EXPECT_TRUE(LogTake().empty());
}
