// SPDX-License-Identifier: GPL-2.0-or-later
//
// Two statements for some hundred files.
#include "tools/veluctl/export/file_details.h"

#include "tools/veluctl/sql_text.h"

namespace {

// Statements are kept: there are few numbers of parameters, since the last path fills them up.
void PathsPut(std::vector<std::string> paths, SqlText *query) {
    size_t count = 1;
    while (count < paths.size())
        count *= 2;
    paths.resize(count, std::string(paths.back()));
    AmongPut(query, paths);
}

} // namespace

bool FileDetailsRead(CatalogueReader *reader, const std::vector<std::string> &paths, FileDetailsOf *known) {
    if (paths.empty())
        return true;
    SqlText states;
    PathsPut(paths, &states.Add("select path, added, trouble from file_state where path"));
    const ResultHandle rows = CatalogueQuery(reader, Catalogue::media, states.sql, states.values);
    for (int at = -1; rows != nullptr && VELUDBFetchRow(rows.get(), &at) == 0;) {
        FileDetails &file = (*known)[VELUDBFetchText(rows.get(), at, "path")];
        file.added = VELUDBFetchText(rows.get(), at, "added");
        file.trouble = VELUDBFetchText(rows.get(), at, "trouble");
    }
    SqlText query;
    query.Add("select s.path as path, n.name as name, f.value as value from file_state s join file_fact f on "
              "f.file = s.id join fact_name n on n.id = f.name where s.path");
    PathsPut(paths, &query);
    query.Add(" order by s.path, n.name, f.position");
    const ResultHandle facts =
        rows != nullptr ? CatalogueQuery(reader, Catalogue::media, query.sql, query.values) : nullptr;
    for (int at = -1; facts != nullptr && VELUDBFetchRow(facts.get(), &at) == 0;)
        (*known)[VELUDBFetchText(facts.get(), at, "path")].facts.emplace_back(
            VELUDBFetchText(facts.get(), at, "name"), VELUDBFetchText(facts.get(), at, "value"));
    return facts != nullptr;
}
