// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is typed for numbers, times, sizes and dates, and the ranges that it means.
#include "tools/veluctl/search/search_values.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include "tools/veluctl/search/search_dates.h"

namespace {

std::string Range(const std::string &text, FieldKind kind, DateForm form = DateForm::local) {
    constexpr std::pair<const char *, SearchRelation> kSigns[] = {{">=", SearchRelation::at_least},
                                                                  {"<=", SearchRelation::at_most},
                                                                  {">", SearchRelation::above},
                                                                  {"<", SearchRelation::below},
                                                                  {"=", SearchRelation::is}};
    for (const auto &[sign, relation] : kSigns) {
        if (!text.starts_with(sign))
            continue;
        SearchNode node;
        node.relation = relation;
        node.value = text.substr(strlen(sign));
        ValueRange range;
        SearchProblem problem;
        if (!ValueRangeRead(node, kind, form, &range, &problem))
            return "wrong";
        return (range.has_low ? "[" : "(") + range.low.value_or("") + " " + range.high.value_or("") +
               (range.has_high ? "]" : ")");
    }
    return "no sign";
}

} // namespace

TEST(SearchValues, Numbers) {
    constexpr FieldKind kKind = FieldKind::number;
    EXPECT_EQ(Range("=1990", kKind), "[1990 1990]");
    EXPECT_EQ(Range("=1990..1999", kKind), "[1990 1999]");
    EXPECT_EQ(Range("=1990..", kKind), "[1990 ]");
    EXPECT_EQ(Range("=..1999", kKind), "[ 1999]");
    EXPECT_EQ(Range(">1990", kKind), "(1990 ]");
    EXPECT_EQ(Range(">=1990", kKind), "[1990 ]");
    EXPECT_EQ(Range("<1990", kKind), "[ 1990)");
    EXPECT_EQ(Range("<=-6.5", kKind), "[ -6.5]");
    for (const char *text :
         {"=", "=x", "=1990x", "=..", "=1..2..3", "=1e9", "=inf", "=nan", "=0x10", "= 1", ">1..2"})
        EXPECT_EQ(Range(text, kKind), "wrong") << text;
    EXPECT_EQ(Range("=" + std::string(400, '9'), kKind), "wrong");
}

TEST(SearchValues, YearsAndDecades) {
    constexpr FieldKind kKind = FieldKind::year;
    EXPECT_EQ(Range("=1990", kKind), "[1990 1990]");
    for (const char *decade : {"=1990s", "=90s", "=199x", "=199X", "=1990-1999", "=1990..1999", "=90s..199x"})
        EXPECT_EQ(Range(decade, kKind), "[1990 1999]") << decade;
    EXPECT_EQ(Range("=30s", kKind), "[1930 1939]");
    EXPECT_EQ(Range("=20s", kKind), "[2020 2029]");
    EXPECT_EQ(Range("=00s", kKind), "[2000 2009]");
    EXPECT_EQ(Range("=1980s-1990s", kKind), "[1980 1999]");
    EXPECT_EQ(Range(">1990s", kKind), "(1999 ]");
    EXPECT_EQ(Range("<199x", kKind), "[ 1990)");
    EXPECT_EQ(Range("=1990s..", kKind), "[1990 ]");
    EXPECT_EQ(Range("=-5", kKind), "[-5 -5]");
    EXPECT_EQ(Range("=1990-", kKind), "[1990 ]");
    for (const char *text : {"=", "=s", "=x", "=5s", "=95s", "=1995s", "=990s", "=19x", "=1990x", "=-90s",
                             "=-", "=x-y", "=1990ss", "=99999999999999999999s", ">1990-1999"})
        EXPECT_EQ(Range(text, kKind), "wrong") << text;
}

TEST(SearchValues, ResolutionsAreClasses) {
    constexpr FieldKind kKind = FieldKind::resolution;
    EXPECT_EQ(Range("=4K", kKind), "[2160 2160]");
    EXPECT_EQ(Range("=hd", kKind), "[720 1440]");
    EXPECT_EQ(Range(">hd", kKind), "(1440 ]");
    EXPECT_EQ(Range("<hd", kKind), "[ 720)");
    EXPECT_EQ(Range("=720p..uhd", kKind), "[720 4320]");
    EXPECT_EQ(Range("=4k..", kKind), "[2160 ]");
    for (const char *text : {"=", "=5k", "=2160", "=1920x1080"})
        EXPECT_EQ(Range(text, kKind), "wrong") << text;
}

TEST(SearchValues, TimesAreThoseThatAreShown) {
    constexpr FieldKind kKind = FieldKind::seconds;
    EXPECT_EQ(Range("=3:25", kKind), "[204.5 205.5)");
    EXPECT_EQ(Range(">10:00", kKind), "[600.5 ]");
    EXPECT_EQ(Range("<1:00:00", kKind), "[ 3599.5)");
    EXPECT_EQ(Range("=90..2:00", kKind), "[89.5 120.5)");
    for (const char *text : {"=", "=3:", "=:25", "=1:2:3:4", "=3:-5", "=three"})
        EXPECT_EQ(Range(text, kKind), "wrong") << text;
}

TEST(SearchValues, Sizes) {
    constexpr FieldKind kKind = FieldKind::bytes;
    EXPECT_EQ(Range(">700", kKind), "(700 ]");
    EXPECT_EQ(Range(">3.4MB", kKind), "(3400000 ]");
    EXPECT_EQ(Range(">2g", kKind), "(2000000000 ]");
    EXPECT_EQ(Range("=1KiB..1MiB", kKind), "[1024 1048576]");
    for (const char *text : {"=", "=MB", "=1XB", "=1MBB", "=1.2.3M", "=-1"})
        EXPECT_EQ(Range(text, kKind), "wrong") << text;
}

TEST(SearchValues, YesOrNo) {
    EXPECT_EQ(Range("=yes", FieldKind::flag), "[1 1]");
    EXPECT_EQ(Range("=NO", FieldKind::boolean), "[0 0]");
    EXPECT_EQ(Range("=perhaps", FieldKind::flag), "wrong");
    EXPECT_EQ(Range("=..yes", FieldKind::boolean), "wrong");
}

TEST(SearchValues, DatesAreWholeYearsMonthsAndDays) {
    constexpr FieldKind kKind = FieldKind::date;
    EXPECT_EQ(Range("=2026", kKind), "[2026 2027)");
    EXPECT_EQ(Range("=2026-12", kKind), "[2026-12 2027-01)");
    EXPECT_EQ(Range(">2026-10", kKind), "[2026-11 ]");
    EXPECT_EQ(Range(">=2026-10", kKind), "[2026-10 ]");
    EXPECT_EQ(Range("<2026-10-31", kKind), "[ 2026-10-31)");
    EXPECT_EQ(Range("<=2024-02-29", kKind), "[ 2024-03-01)");
    EXPECT_EQ(Range("=2026-10..2026-11", kKind), "[2026-10 2026-12)");
    EXPECT_EQ(Range("=2026-12-31T23:59", kKind), "[2026-12-31 23:59 2027-01-01 00:00)");
    for (const char *text : {"=", "=26", "=2026-13", "=2026-1", "=2026-10-32", "=2026-10-31 24",
                             "=2026-10-31 12:30:59.5", "=0000", "=9999"})
        EXPECT_EQ(Range(text, kKind), "wrong") << text;
}

TEST(SearchValues, WhatIsTypedIsLocalTime) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    EXPECT_EQ(Range("=2026-07-01", FieldKind::date, DateForm::utc),
              "[2026-06-30T22:00:00Z 2026-07-01T22:00:00Z)");
    EXPECT_EQ(Range(">2026-10", FieldKind::date, DateForm::utc), "[2026-10-31T23:00:00Z ]");
    unsetenv("TZ");
    tzset();
}

TEST(SearchValues, DaysUpToNowHaveWords) {
    std::optional<Period> yesterday;
    std::optional<Period> today;
    // Midnight may come between the two.
    do {
        yesterday = PeriodOf("yesterday", false);
        today = PeriodOf("Today", false);
    } while (yesterday && today && yesterday->end != today->begin);
    ASSERT_TRUE(yesterday && today);
    EXPECT_LT(yesterday->begin, yesterday->end);
    EXPECT_EQ(today->begin.size(), std::string("2026-10-31").size());
    const std::string date = today->begin;
    EXPECT_EQ(PeriodOf(date, false)->end, today->end);
    for (const char *word : {"week", "month", "year"}) {
        EXPECT_EQ(PeriodOf(word, false)->end, today->end) << word;
        EXPECT_LT(PeriodOf(word, false)->begin, yesterday->begin) << word;
    }
    EXPECT_LT(PeriodOf("year", false)->begin, PeriodOf("month", false)->begin);
    EXPECT_FALSE(PeriodOf("weeks", false));
    EXPECT_EQ(PeriodOf("today", true)->begin.back(), 'Z');
}
