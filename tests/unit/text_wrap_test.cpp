// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/text_wrap.h"

#include <gtest/gtest.h>

using Lines = std::vector<std::string>;

TEST(TextWrap, LinesAreFilledToTheirLastColumn) {
    EXPECT_EQ(TextWrap("one two three", 7), (Lines{"one two", "three"}));
    EXPECT_EQ(TextWrap("one two three", 6), (Lines{"one", "two", "three"}));
    EXPECT_EQ(TextWrap("one two three", 80), (Lines{"one two three"}));
    EXPECT_EQ(TextWrap("", 80), Lines{});
}

TEST(TextWrap, AWordThatDoesNotFitIsWhole) {
    EXPECT_EQ(TextWrap("a /very/long/path b", 5), (Lines{"a", "/very/long/path", "b"}));
}
