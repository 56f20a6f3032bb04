// SPDX-License-Identifier: GPL-2.0-or-later
//
// Where the rows of one table have a field, or why not.
#pragma once

#include "tools/veluctl/search/search_fields.h"
#include "tools/veluctl/search/search_problem.h"
#include "tools/veluctl/search/search_target.h"
#include "tools/veluctl/sql_text.h"

// False, with the reason, when the table has no such field.
[[nodiscard]] bool SearchSourceFind(const SearchField &field, SearchPlace place, const SearchTarget &target,
                                    FieldSource *source, SearchProblem *problem);

// Returns an SQL expression for a number that is made of others, 0 where it is not known: the lines of a film's picture (resolution.h),
// the year in which a photo was taken.
std::string MadeNumber(const SearchField &field, const CatalogueTable &table);

// Returns an SQL expression for a column of dates in the form in which they have an order: by the rules `appliance` there are
// others ("2024-5-4 8:10:11", "2024:05:04 08:10:11"), whose years, months and days are brought into it.
std::string DateColumn(const Column &column, const SearchTarget &target);

// Returns the begin of a statement that finds the values of a fact as the rows `found`, going from each to the next one by the index, so
// that it matters how many values there are and not how many files.
std::string FactValuesFound(const std::string &fact);

// Adds "in ($1, $2)" for the names of the facts by which a field is known.
void FactNamesPut(const SearchField &field, SqlText *query);
