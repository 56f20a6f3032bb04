// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/rule_set.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "log_catcher.h"
#include "platform/configuration.h"

namespace {

class RuleSets : public testing::Test {
protected:
    static void Write(const std::string &text) { std::ofstream(kConfigurationFile) << text; }
    void TearDown() override {
        std::filesystem::remove(kConfigurationFile);
        RuleSetRead();
    }
};

} // namespace

TEST_F(RuleSets, WithoutTheKeyTheApplianceHolds) {
    LogCatcher log;
    RuleSetRead();
    EXPECT_EQ(RuleSetActive(), RuleSet::appliance);
    Write("rules=\"\"\n");
    RuleSetRead();
    EXPECT_EQ(RuleSetActive(), RuleSet::appliance);
    EXPECT_TRUE(log.Quiet());
}

TEST_F(RuleSets, WhatWasReadHoldsUntilTheNextStart) {
    LogCatcher log;
    Write("rules=\"complete\"\n");
    EXPECT_EQ(RuleSetConfigured(), RuleSet::complete);
    EXPECT_EQ(RuleSetActive(), RuleSet::appliance) << "not read yet";
    RuleSetRead();
    EXPECT_EQ(RuleSetActive(), RuleSet::complete);
    Write("rules=\"appliance\"\n");
    EXPECT_EQ(RuleSetConfigured(), RuleSet::appliance);
    EXPECT_EQ(RuleSetActive(), RuleSet::complete);
    EXPECT_TRUE(log.Quiet());
}

TEST_F(RuleSets, AnythingElseIsToldAndCountsAsTheAppliance) {
    for (const std::string value : {"Complete", "completely", "complet", "1", "appliance complete"}) {
        Write("rules=\"complete\"\n");
        RuleSetRead();
        Write("rules=\"" + value + "\"\n");
        LogCatcher log;
        EXPECT_EQ(RuleSetConfigured(), RuleSet::appliance) << value;
        EXPECT_TRUE(log.Quiet());
        RuleSetRead();
        EXPECT_EQ(RuleSetActive(), RuleSet::appliance) << value;
        EXPECT_EQ(
            log.Lines("rules=\"" + value + "\" is neither appliance nor complete: appliance holds.").size(),
            1u);
        EXPECT_EQ(log.Lines().size(), 1u);
    }
    Write("rules=\"" + std::string(5000, 'x') + "\"\n");
    LogCatcher log;
    RuleSetRead();
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_LT(log.Lines()[0].size(), 200u) << "what is quoted is cut";
}

TEST_F(RuleSets, WordsAreThoseOfTheTable) {
    EXPECT_STREQ(RuleSetWord(RuleSet::appliance), ConfigurationKeyOf("rules").standard);
    EXPECT_EQ(std::string(RuleSetWord(RuleSet::appliance)) + " " + RuleSetWord(RuleSet::complete),
              ConfigurationKeyOf("rules").words);
}
