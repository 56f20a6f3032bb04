// SPDX-License-Identifier: GPL-2.0-or-later
//
// Bars beside names and numbers: a table, whose numbers are there for whoever cannot see the bars.
#pragma once

#include <string>
#include <vector>

#include "tools/veluctl/report/html_writer.h"
#include "tools/veluctl/report/open_list.h"

struct Bar {
    std::string name;
    double value = 0;
    std::string number;    // the value as a text
    std::string more = {}; // a second number; none when no row has one
};

struct Bars {
    Literal heading;   // above it
    Literal names;     // what the names are
    Literal numbers;   // what the numbers are
    Literal more = ""; // what the second numbers are
    std::vector<Bar> bars = {};
    std::vector<OpenList> lists = {}; // below it
    double longest = 0;               // what a whole bar stands for; 0: the largest value
};

// Writes a card with the bars; nothing when there are none. Where there are second numbers, they take the
// bars' place, and the bars stand below the names.
void BarsWrite(HtmlWriter *html, const Bars &bars);
