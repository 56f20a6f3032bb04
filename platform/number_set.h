// SPDX-License-Identifier: GPL-2.0-or-later
//
// A set of whole numbers that come mostly in rising order and in stretches: memory goes with the number of stretches.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <algorithm>
#include <vector>

struct NumberSet {
    struct Span {
        uint64_t first;
        uint64_t last;
    };
    std::vector<Span> spans; // rising, and neither touching nor overlapping
};

// Adds all numbers from `first` to `last`. Cheap at the end of the set.
inline void NumberSetAdd(NumberSet *set, uint64_t first, uint64_t last) {
    std::vector<NumberSet::Span> &spans = set->spans;
    // The first stretch that the new one touches or that lies behind it.
    auto begin = spans.end();
    while (begin != spans.begin() && (begin - 1)->last + 1 >= first)
        --begin;
    auto end = begin;
    while (end != spans.end() && end->first <= last + 1)
        ++end;
    if (begin == end) {
        spans.insert(begin, {first, last});
        return;
    }
    begin->first = std::min(begin->first, first);
    begin->last = std::max((end - 1)->last, last);
    spans.erase(begin + 1, end);
}

inline void NumberSetAdd(NumberSet *set, uint64_t number) {
    NumberSetAdd(set, number, number);
}

[[nodiscard]] inline bool NumberSetHas(const NumberSet &set, uint64_t number) {
    const auto behind =
        std::upper_bound(set.spans.begin(), set.spans.end(), number,
                         [](uint64_t n, const NumberSet::Span &span) { return n < span.first; });
    return behind != set.spans.begin() && number <= (behind - 1)->last;
}
