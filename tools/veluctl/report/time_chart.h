// SPDX-License-Identifier: GPL-2.0-or-later
//
// Values over time, those of several series on top of each other: as areas (a state) or columns (what came).
#pragma once

#include <string>
#include <vector>

#include "tools/veluctl/report/html_writer.h"
#include "tools/veluctl/report/month.h"

struct Series {
    Literal style; // class of its colour
    std::vector<double> values;
};

enum class TimeForm { areas, columns };

struct TimeChart {
    TimeForm form;
    Literal heading;
    std::string description; // for those who do not see it
    Month first;             // of the first value
    int step;                // months from one value to the next
    bool whole;              // values are whole numbers
    std::string (*show)(double value);
    std::vector<Series> series; // of the same length, lowest first
};

void TimeChartWrite(HtmlWriter *html, const TimeChart &chart);
