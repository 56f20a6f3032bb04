// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/overview/query_rows.h"

#include <stdio.h>
#include <stdlib.h>

#include "tools/veluctl/message.h"

ExitCode ListUnknown(const std::string &word, const std::vector<const char *> &words) {
    std::string all;
    for (const char *one : words)
        all.append(all.empty() ? "" : ", ").append(one);
    return Complain(kUsage, "there is no list of " + Quoted(word) + ": there are " + all);
}

bool QueryRowsTake(CatalogueReader *reader, const SqlText &query, std::span<const Column> columns,
                   const std::function<void(Row &)> &take) {
    const ResultHandle rows = CatalogueQuery(reader, Catalogue::media, query.sql, query.values);
    if (rows == nullptr)
        return false;
    for (int at = -1; VELUDBFetchRow(rows.get(), &at) == 0;) {
        Row row;
        for (const Column &column : columns) {
            Value value = ValueTake(rows, at, column.name);
            if (value && column.type == Type::bytes) {
                char whole[32];
                snprintf(whole, sizeof whole, "%.0f", strtod(value->c_str(), nullptr));
                value = whole;
            }
            row.push_back(std::move(value));
        }
        take(row);
    }
    return true;
}

std::string SongsWithFact(const char *name) {
    return std::string(
               "music m join file_state s on s.path = m.path left join file_fact f on f.file = s.id and "
               "f.position = 0 and f.name = (select id from fact_name where name = '") +
           name + "')";
}

std::string FactsOfFiles(const std::string &name) {
    return "file_state s cross join file_fact f where f.file = s.id and f.name = (select id from fact_name "
           "where name = '" +
           name + "')";
}

void LimitPut(SqlText *query, uint32_t limit) {
    if (limit != kEveryRow)
        query->Add(" limit ").Add(std::to_string(limit));
}

ExitCode ListEnd(size_t rows, const Options &options) {
    if (rows > 0 || options.limit == 0)
        return kDone;
    if (options.form() == Form::table)
        fputs("No rows.\n", stderr);
    return kFound;
}
