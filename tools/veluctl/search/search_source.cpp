// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_source.h"

bool SearchSourceFind(const SearchField &field, SearchPlace place, const SearchTarget &target,
                      FieldSource *source, SearchProblem *problem) {
    *source = FieldSourceOf(field, *target.table, target.facts);
    const std::string name = field.name;
    if (source->place == FieldPlace::missing && target.complete)
        return SearchWrong(
            problem, name + " is known once a run by the rules complete has filled the catalogue", place);
    if (source->place == FieldPlace::missing)
        return SearchWrong(problem,
                           name + " has no column: it is kept by the rules complete alone, and these are "
                                  "the rules appliance (key rules)",
                           place);
    if (source->place == FieldPlace::none)
        return SearchWrong(
            problem, std::string("rows of the kind ") + target.table->kind + " have no field " + name, place);
    return true;
}

void FactNamesPut(const SearchField &field, SqlText *query) {
    const char *joint = "in (";
    for (const char *fact : field.facts) {
        if (fact == nullptr)
            continue;
        query->Add(joint).Put(fact);
        joint = ", ";
    }
    query->Add(")");
}
