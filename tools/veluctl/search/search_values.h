// SPDX-License-Identifier: GPL-2.0-or-later
//
// Values that can be more or less: numbers, times, sizes, dates. What was typed becomes the range of values that it means.
#pragma once

#include <optional>
#include <string>

#include "tools/veluctl/search/search_fields.h"
#include "tools/veluctl/search/search_node.h"

// Texts that the database compares as the kind of the field has it: decimal numbers, or dates in the form of the column.
struct ValueRange {
    std::optional<std::string> low;
    std::optional<std::string> high;
    bool has_low = true; // whether the bound itself is within
    bool has_high = true;
};

// How dates are written where they are kept.
enum class DateForm {
    local, // 2026-10-31 12:30:00, of which a shorter one is the begin
    utc,   // 2026-10-31T12:30:00Z; what is typed is local time all the same
};

// Reads the value of a field that is neither text nor path. A date that leaves out its end means all of the year, month or day:
// "above 2026-10" begins with November. False, with what is wrong.
[[nodiscard]] bool ValueRangeRead(const SearchNode &node, FieldKind kind, DateForm form, ValueRange *range,
                                  SearchProblem *problem);
