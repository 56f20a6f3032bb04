// SPDX-License-Identifier: GPL-2.0-or-later
//
// The conditions of single fields.
#pragma once

#include "tools/veluctl/search/search_node.h"
#include "tools/veluctl/search/search_target.h"
#include "tools/veluctl/sql_text.h"

// What always holds, and what never does.
inline constexpr char kSqlYes[] = "1 = 1";
inline constexpr char kSqlNo[] = "1 = 0";

// Adds the condition that a field has a value, by the node's relation. False, with what is wrong.
[[nodiscard]] bool FieldConditionPut(const SearchNode &node, const SearchTarget &target, SqlText *query,
                                     SearchProblem *problem);

// Adds the condition that a field has any value. False, with what is wrong.
[[nodiscard]] bool PresencePut(const SearchNode &node, const SearchTarget &target, SqlText *query,
                               SearchProblem *problem);
