// SPDX-License-Identifier: GPL-2.0-or-later
//
// What stands behind a number: a list that opens where the number is.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "tools/veluctl/report/html_writer.h"

struct OpenListEntry {
    std::string name;
    std::string number = {}; // beside it
    int64_t stands_for = 1;  // entries, where one line says "and 7 more" of a kind
};

struct OpenList {
    std::string summary;      // what opens it: "39 others"
    int64_t in_all = 0;       // entries, with those that are not here
    std::string command = {}; // that lists all of them; none: nothing does
    std::vector<OpenListEntry> entries = {};
};

// Writes it, closed. One without entries is only its summary.
void OpenListWrite(HtmlWriter *html, const OpenList &list);
