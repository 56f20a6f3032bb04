// SPDX-License-Identifier: GPL-2.0-or-later
//
// From what a reader says of a file to the facts that are kept beside its row.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "platform/index/file_state.h"
#include "reader/protocol/message.h"

// The texts of `facts` are the answer's own or those in `texts`.
struct FactRows {
    std::vector<FileFact> facts;
    std::deque<std::string> texts; // which never move
};

// Returns the facts that an answer has, folded for searches, but for those that the row says as well: of the columns only those with a fact for each
// of their values are among them.
FactRows FactRowsOf(const Answer &answer);

// Adds the values of a name that the answer does not have. They have to live as long as the rows.
void FactRowsAdd(FactRows *rows, std::string_view name, const std::vector<std::string> &values);

// Returns a number as plain decimal text: without an exponent, and without zeros behind the last digit that counts.
std::string FactNumberText(double number);
