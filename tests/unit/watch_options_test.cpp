// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/options.h"

#include <gtest/gtest.h>

namespace {

ProgramLine Read(std::vector<std::string> words, WatchOptions *options) {
    words.insert(words.begin(), "veluwatchd");
    std::vector<char *> pointers;
    for (std::string &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return OptionsRead(static_cast<int>(words.size()), pointers.data(), options);
}

void ExpectBounds(const std::string &name, double WatchOptions::*value, double least, double most) {
    for (const double inside : {least, most}) {
        WatchOptions options;
        EXPECT_EQ(Read({name, std::to_string(inside)}, &options), ProgramLine::run) << name << inside;
        EXPECT_EQ(options.*value, inside);
    }
    for (const double outside : {least - 0.001, most + 0.001}) {
        WatchOptions options;
        EXPECT_EQ(Read({name, std::to_string(outside)}, &options), ProgramLine::wrong) << name << outside;
    }
}

} // namespace

TEST(WatchOptions, TimesHaveBounds) {
    ExpectBounds("--settle", &WatchOptions::settle, kSettleSecondsMin, kSettleSecondsMax);
    ExpectBounds("--check", &WatchOptions::check, kCheckSecondsMin, kCheckSecondsMax);
    ExpectBounds("--rescan", &WatchOptions::rescan, kRescanSecondsMin, kRescanSecondsMax);
}

TEST(WatchOptions, WithoutAnyTheDefaultsHold) {
    WatchOptions options;
    EXPECT_EQ(Read({}, &options), ProgramLine::run);
    EXPECT_EQ(options.settle, kSettleSeconds);
    EXPECT_EQ(options.check, kCheckSeconds);
    EXPECT_EQ(options.rescan, kRescanSeconds);
    EXPECT_FALSE(options.reindex_at_start);
    EXPECT_TRUE(options.paths.empty());
}

TEST(WatchOptions, DirectoriesAreMadeAbsolute) {
    WatchOptions options;
    EXPECT_EQ(Read({"/volume1/books", "--reindex-at-start", "/tmp/"}, &options), ProgramLine::run);
    EXPECT_EQ(options.paths.size(), 2U);
    EXPECT_EQ(options.paths[0], "/volume1/books");
    EXPECT_TRUE(options.reindex_at_start);
}
