// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which tags a song's row lacks, as SQL: `m` is the row, `s` the state of its file, of catalogues that have states.
#pragma once

#include <span>
#include <string>
#include <string_view>

struct TagLack {
    const char *tag;
    const char *of_row;   // the condition; empty: the row does not tell
    const char *of_state; // likewise: a title and an album are made from names where there is no tag
};

std::span<const TagLack> TagLacks();

// Returns the one of a tag that is among them.
const TagLack &TagLackOf(std::string_view tag);

// The rows; which of them lack any of the tags that are known to be one; and which, in words.
std::string TaggedRows(bool states);
std::string AnyTagMissing(bool states);
std::string TagsMissingText(bool states);
