// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/near_name.h"

#include <gtest/gtest.h>

namespace {

constexpr const char *kNames[] = {"add", "dump", "duplicates", "status", "stats", "report"};

std::string Hint(std::string_view name) {
    return MeantHint(name, kNames);
}

} // namespace

TEST(NearName, DistanceCountsSlips) {
    EXPECT_EQ(EditDistance("", ""), 0U);
    EXPECT_EQ(EditDistance("", "abc"), 3U);
    EXPECT_EQ(EditDistance("abc", ""), 3U);
    EXPECT_EQ(EditDistance("abc", "ABC"), 0U);
    EXPECT_EQ(EditDistance("abc", "abd"), 1U);
    EXPECT_EQ(EditDistance("abc", "acb"), 1U); // exchanged with its neighbour
    EXPECT_EQ(EditDistance("abcd", "badc"), 2U);
    EXPECT_EQ(EditDistance("abc", "xabc"), 1U);
    EXPECT_EQ(EditDistance("kitten", "sitting"), 3U);
}

TEST(NearName, WhatIsMeantIsTheOnlyBeginningOrTheNearest) {
    EXPECT_EQ(Hint("dup"), "; did you mean duplicates?"); // though dump is but a letter away
    EXPECT_EQ(Hint("rep"), "; did you mean report?");
    EXPECT_EQ(Hint("stat"), "; did you mean stats?"); // two begin so
    EXPECT_EQ(Hint("stauts"), "; did you mean status?");
    EXPECT_EQ(Hint("dad"), "; did you mean add?"); // neighbours exchanged
    EXPECT_EQ(Hint("ADD"), "; did you mean add?");
    EXPECT_EQ(MeantHint("rpeort", kNames, "--"), "; did you mean --report?");
}

TEST(NearName, WhatIsNearNothingHasNoHint) {
    EXPECT_EQ(Hint(""), "");
    EXPECT_EQ(Hint("d"), "");
    EXPECT_EQ(Hint("bogus"), "");
    EXPECT_EQ(Hint("xyz"), "");
    EXPECT_EQ(Hint(std::string(100000, 'd')), "");
}
