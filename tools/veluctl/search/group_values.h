// SPDX-License-Identifier: GPL-2.0-or-later
//
// By which values of a field the first groups of an answer are: a database that is told so need not make all groups to show a few.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/veluctl/search/search.h"

// Values of the first field of `groups`, of which the first groups are, as many as the search wants. None where all groups have
// to be made: the answer has another order, it is not limited, or the field is not a column with text.
struct GroupValues {
    bool read = true; // else the catalogue cannot be reached, with the reason in the reader
    std::optional<std::vector<std::string>> first = {};
};
GroupValues GroupValuesRead(CatalogueReader *reader, const Search &search,
                            const std::vector<SearchOrderKey> &groups);

// Adds " and COLUMN in (...)".
void GroupValuesPut(const std::vector<std::string> &values, const SearchOrderKey &group,
                    const SearchTarget &target, SqlText *query);
