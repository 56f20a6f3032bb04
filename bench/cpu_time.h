// SPDX-License-Identifier: GPL-2.0-or-later
//
// How the benchmarks of readers take the time: processor time, which other programs on the machine hardly change.
#pragma once

#include <math.h>
#include <time.h>

#include <algorithm>
#include <functional>

// Microseconds of processor time of one call, the best of some rounds of `calls` calls.
inline double CpuMicros(int calls, const std::function<void()> &work) {
    constexpr int kRounds = 7;
    double best = INFINITY;
    for (int round = 0; round < kRounds; ++round) {
        const clock_t begin = clock();
        for (int call = 0; call < calls; ++call)
            work();
        best = std::min(best, static_cast<double>(clock() - begin) / CLOCKS_PER_SEC / calls * 1e6);
    }
    return best;
}
