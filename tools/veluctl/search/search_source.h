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

// Adds "in ($1, $2)" for the names of the facts by which a field is known.
void FactNamesPut(const SearchField &field, SqlText *query);
