// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/setup/key_line_set.h"

#include <gtest/gtest.h>

TEST(LineSet, ReplacesTheLineOfThatNumberAlone) {
    EXPECT_EQ(LineSet("a\nb\nc\n", 1, "X"), "X\nb\nc\n");
    EXPECT_EQ(LineSet("a\nb\nc\n", 2, "X"), "a\nX\nc\n");
    EXPECT_EQ(LineSet("a\nb\nc\n", 3, "X"), "a\nb\nX\n");
    EXPECT_EQ(LineSet("\n\nc", 3, "X"), "\n\nX\n");
}

TEST(LineSet, AddsALineBehindAllOthers) {
    EXPECT_EQ(LineSet("", 0, "X"), "X\n");
    EXPECT_EQ(LineSet("a", 0, "X"), "a\nX\n");
    EXPECT_EQ(LineSet("a\n", 0, "X"), "a\nX\n");
}
