// SPDX-License-Identifier: GPL-2.0-or-later
//
// The line grammar of the indexing queue: a command letter, a colon, an argument.
#pragma once

#include <string>
#include <string_view>

// One request. The argument is a path, a table or share word; of a rename it is the new path.
struct QueueRequest {
    char command = '\0';
    std::string argument;
    std::string old_path; // renames only
};

// Reads a line without its newline. False when it is not well-formed: no colon in the second place, an
// unknown letter, a byte of value 0, a rename without two paths. Paths of a rename are split at colons, empty
// pieces do not count and pieces behind the second are ignored.
[[nodiscard]] bool QueueLineParse(std::string_view line, QueueRequest &request);
