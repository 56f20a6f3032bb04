// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl list: rows of the catalogue by kind and directory, or what they have in common.
#include <algorithm>

#include "tools/queue/request_path.h"
#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/groups.h"
#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/row_list.h"

namespace {

// The tables that are asked for: the media tables unless others are named.
std::vector<const CatalogueTable *> TablesChoose(const Options &options) {
    std::vector<const CatalogueTable *> tables;
    for (const CatalogueTable &table : CatalogueTables()) {
        const bool named =
            std::find(options.kinds.begin(), options.kinds.end(), table.kind) != options.kinds.end();
        if (named || (options.kinds.empty() && table.is_media))
            tables.push_back(&table);
    }
    return tables;
}

} // namespace

ExitCode ListCommand(const Options &options) {
    if (!options.what.empty())
        return GroupsList(options);
    const std::vector<const CatalogueTable *> tables = TablesChoose(options);
    if (!TablesGoTogether(tables))
        return Complain(kUsage, kTablesApart);
    RowFilter filter;
    filter.limit = options.limit;
    if (!options.directory.empty()) {
        if (!tables.front()->keeps_paths)
            return Complain(kUsage,
                            std::string(tables.front()->kind) + " rows have no path: --dir does not apply");
        filter.directory = RequestPathMake(options.directory);
    }
    CatalogueReader reader;
    if (CatalogueConnect(&reader, tables.front()->catalogue) == nullptr)
        return Complain(kUnreachable, reader.failure);
    RowList list(tables, options.form());
    for (const CatalogueTable *table : tables) {
        const bool read = CatalogueRowsRead(&reader, *table, list.names(), filter,
                                            [&](Row &row) { list.Add(*table, row); });
        if (!read) {
            list.End();
            return Complain(kUnreachable, reader.failure);
        }
        filter.limit = options.limit - list.count();
    }
    list.End();
    return ListEnd(list.count(), options);
}
