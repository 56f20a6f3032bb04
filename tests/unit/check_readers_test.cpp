// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/check_readers.h"

#include <gtest/gtest.h>

namespace {

std::string Status(const char *user, const char *capabilities) {
    return std::string("Name:\tveluindexd\nPid:\t7\nUid:\t") + user + "\t0\t0\t0\nCapPrm:\t0\nCapEff:\t" +
           capabilities + "\nSeccomp:\t2\n";
}

TEST(CheckReaders, NothingIsSaidOfReadersWithAUserOfTheirOwn) {
    EXPECT_EQ("", ReadersRemark(Status("0", "00000000000000e3"), true));
}

TEST(CheckReaders, WhatReadersLack) {
    EXPECT_NE("", ReadersRemark(Status("0", "00000000000000e3"), false));
    EXPECT_NE(std::string::npos,
              ReadersRemark(Status("0", "0000000000000023"), true).find("may not change users"));
    EXPECT_NE(std::string::npos,
              ReadersRemark(Status("0", "0000000000000080"), true).find("may not change users"));
    EXPECT_NE(std::string::npos, ReadersRemark(Status("990", "00000000000000e3"), true).find("not root"));
}

} // namespace
