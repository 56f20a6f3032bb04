// SPDX-License-Identifier: GPL-2.0-or-later
//
// The fields by which an answer is sorted or grouped.
#pragma once

#include <vector>

#include "tools/veluctl/search/search_fields.h"
#include "tools/veluctl/search/search_problem.h"
#include "tools/veluctl/search/search_target.h"
#include "tools/veluctl/sql_text.h"

// What groups alone have.
inline constexpr SearchField kFilesField = {"files", FieldKind::number};

struct SearchOrderKey {
    const SearchField *field;
    SearchPlace place;
    bool descending;
};

// Reads "year,-title": names with commas between them, of which a `-` in front turns the order round. False, with what is wrong.
[[nodiscard]] bool SearchOrderRead(std::string_view text, std::vector<SearchOrderKey> *order,
                                   SearchProblem *problem);

// Adds the tables in which facts and states of these fields are, joined to the target's, which then knows of it; with `each_value` a file is there once for
// each value of a fact, else with its first one. Not the view of facts: of that, engines would first make all.
void SearchJoinsPut(const std::vector<SearchOrderKey> &order, SearchTarget *target, bool each_value,
                    SqlText *query);

// Adds an expression for the value of the field at a place of the order, nothing and 0 where there is none. For sorting, text is in
// small letters. The tables are joined. False, with what is wrong.
[[nodiscard]] bool SearchValuePut(const std::vector<SearchOrderKey> &order, size_t at,
                                  const SearchTarget &target, bool for_sorting, SqlText *query,
                                  SearchProblem *problem);
