// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/number_set.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace {

std::vector<std::pair<uint64_t, uint64_t>> Spans(const NumberSet &set) {
    std::vector<std::pair<uint64_t, uint64_t>> spans;
    for (const NumberSet::Span &span : set.spans)
        spans.emplace_back(span.first, span.last);
    return spans;
}

using Pairs = std::vector<std::pair<uint64_t, uint64_t>>;

TEST(NumberSet, NumbersInARowAreOneStretch) {
    NumberSet set;
    for (uint64_t number = 1; number <= 1'000'000; ++number)
        NumberSetAdd(&set, number);
    EXPECT_EQ(Spans(set), (Pairs{{1, 1'000'000}}));
}

TEST(NumberSet, WhatLiesBetweenJoinsStretches) {
    NumberSet set;
    for (const uint64_t number : {7, 3, 5, 9, 1})
        NumberSetAdd(&set, number);
    EXPECT_EQ(Spans(set), (Pairs{{1, 1}, {3, 3}, {5, 5}, {7, 7}, {9, 9}}));
    NumberSetAdd(&set, 4);
    EXPECT_EQ(Spans(set), (Pairs{{1, 1}, {3, 5}, {7, 7}, {9, 9}}));
    NumberSetAdd(&set, 4, 8);
    EXPECT_EQ(Spans(set), (Pairs{{1, 1}, {3, 9}}));
    NumberSetAdd(&set, 5);
    EXPECT_EQ(Spans(set), (Pairs{{1, 1}, {3, 9}}));
}

TEST(NumberSet, HoldsWhatAnySetHolds) {
    std::mt19937 random(7);
    NumberSet set;
    std::set<uint64_t> expected;
    for (int i = 0; i < 2000; ++i) {
        const uint64_t first = random() % 300;
        const uint64_t last = first + random() % 3;
        NumberSetAdd(&set, first, last);
        for (uint64_t number = first; number <= last; ++number)
            expected.insert(number);
        for (uint64_t number = 0; i % 100 == 0 && number < 310; ++number)
            ASSERT_EQ(NumberSetHas(set, number), expected.count(number) != 0) << number;
    }
    for (size_t i = 1; i < set.spans.size(); ++i)
        EXPECT_GT(set.spans[i].first, set.spans[i - 1].last + 1);
}

} // namespace
