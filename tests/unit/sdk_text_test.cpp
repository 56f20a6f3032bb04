// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/velusdk.h"

#include <gtest/gtest.h>

#include <stdio.h>
#include <string.h>

#include <string>

namespace {

std::string Trimmed(std::string text) {
    char *const begin = text.data();
    EXPECT_EQ(StringTrim(begin), begin);
    return begin;
}

} // namespace

TEST(SdkStringTrim, BothEnds) {
    EXPECT_EQ(Trimmed("  title  "), "title");
    EXPECT_EQ(Trimmed(" \t\n\v\f\ra b\r\f\v\n\t "), "a b");
    EXPECT_EQ(Trimmed("title"), "title");
    EXPECT_EQ(Trimmed("x"), "x");
    EXPECT_EQ(Trimmed(" x"), "x");
    EXPECT_EQ(Trimmed("x "), "x");
}

TEST(SdkStringTrim, NothingLeft) {
    EXPECT_EQ(Trimmed(""), "");
    EXPECT_EQ(Trimmed(" "), "");
    EXPECT_EQ(Trimmed(" \t\n\v\f\r"), "");
    EXPECT_EQ(StringTrim(nullptr), nullptr);
}

// Latin-1 has a blank at A0 hex and UTF-8 holds that byte inside letters: neither is cut.
TEST(SdkStringTrim, BytesAboveAsciiAndControlsStay) {
    EXPECT_EQ(Trimmed(" \xC3\xA0 "), "\xC3\xA0");
    EXPECT_EQ(Trimmed("\x01 \xA0\x85"), "\x01 \xA0\x85");
}

TEST(SdkBanner, NamesProgramVersionAndLicence) {
    testing::internal::CaptureStdout();
    KLIBCopyright("veluindexd");
    const std::string banner = testing::internal::GetCapturedStdout();
    EXPECT_EQ(banner.rfind("veluindexd ", 0), 0u);
    EXPECT_NE(banner.find("Media-indexing daemon"), std::string::npos);
    EXPECT_NE(banner.find("GNU General Public License"), std::string::npos);
    EXPECT_EQ(banner.back(), '\n');
}
