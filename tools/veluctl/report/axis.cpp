// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/axis.h"

#include <math.h>

#include <algorithm>

std::vector<double> AxisTicks(double max, int wanted, bool whole) {
    constexpr double kFactors[] = {1, 2, 5, 10};
    const double highest = isfinite(max) && max > 0 ? max : 1;
    const double raw = highest / wanted;
    const double power = pow(10, floor(log10(raw)));
    const double *factor = std::find_if(std::begin(kFactors), std::end(kFactors) - 1,
                                        [&](double one) { return one * power >= raw; });
    const double step = whole ? std::max(*factor * power, 1.0) : *factor * power;
    std::vector<double> ticks = {0};
    while (ticks.back() < highest)
        ticks.push_back(step * static_cast<double>(ticks.size()));
    return ticks;
}

std::vector<Month> MonthTicks(Month first, Month last, int most) {
    constexpr int kSteps[] = {1,
                              2,
                              3,
                              6,
                              kMonthsInYear,
                              2 * kMonthsInYear,
                              5 * kMonthsInYear,
                              10 * kMonthsInYear,
                              20 * kMonthsInYear,
                              50 * kMonthsInYear,
                              100 * kMonthsInYear};
    std::vector<Month> ticks;
    for (const int step : kSteps) {
        ticks.clear();
        for (Month month = (first + step - 1) / step * step; month <= last; month += step)
            ticks.push_back(month);
        if (ticks.size() <= static_cast<size_t>(most))
            break;
    }
    return ticks;
}
