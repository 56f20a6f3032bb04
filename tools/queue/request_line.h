// SPDX-License-Identifier: GPL-2.0-or-later
//
// Forming lines of the indexing queue from paths that people and programs give, and refusing what a line
// cannot carry.
#pragma once

#include <string>
#include <string_view>

#include "daemon/queue_line.h"

// A line, its newline included, or why there is none. One of the two is empty.
struct RequestLine {
    std::string line;
    std::string refusal; // a sentence for people, without the path
};

// Forms a line: `command` and a colon in front of a path, a table or a share's word.
RequestLine RequestLineForm(QueueCommand command, std::string_view argument);

// Forms the line of a rename. Neither path may hold a colon: that is what separates them.
RequestLine RenameLineForm(std::string_view new_path, std::string_view old_path);
