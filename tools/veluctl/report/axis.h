// SPDX-License-Identifier: GPL-2.0-or-later
//
// Round numbers for the axes of a chart.
#pragma once

#include <vector>

#include "tools/veluctl/report/month.h"

// Returns 0 and further round numbers (1, 2 or 5 times a power of ten apart, whole ones with `whole`), the
// last at or above `max`; about `wanted` steps.
std::vector<double> AxisTicks(double max, int wanted, bool whole);

// Returns months from `first` to `last` that begin a round number of months or years: at most `most`, which
// is at least 2.
std::vector<Month> MonthTicks(Month first, Month last, int most);
