// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl show: everything that the catalogues hold of one path.
#include <dirent.h>

#include <algorithm>

#include "tools/queue/request_path.h"
#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/covers.h"
#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/record_print.h"

namespace {

struct Found {
    const CatalogueTable *table;
    Row row;
};

// A file's rows; an album has none of its own path and is looked up with `list --kind album`.
bool RowsFind(CatalogueReader *reader, const std::string &path, std::vector<Found> *found) {
    RowFilter filter;
    filter.key = path;
    bool any_reached = false;
    std::string first_failure;
    for (const CatalogueTable &table : CatalogueTables()) {
        if (!table.keeps_paths)
            continue;
        std::vector<const char *> names;
        for (const Column &column : table.columns)
            names.push_back(column.name);
        const bool read = CatalogueRowsRead(reader, table, names, filter, [&](Row &row) {
            found->push_back({&table, std::move(row)});
        });
        if (!read && first_failure.empty())
            first_failure = reader->failure;
        // The photo catalogue may be missing where there is no photo library.
        any_reached = any_reached || read;
    }
    reader->failure = first_failure;
    return any_reached;
}

} // namespace

ExitCode ShowCommand(const Options &options) {
    const std::string path = RequestPathMake(options.path);
    CatalogueReader reader;
    std::vector<Found> found;
    if (path.empty() || !RowsFind(&reader, path, &found))
        return Complain(kUnreachable, reader.failure);
    const std::vector<KeptCover> covers = CoversOf(path);
    std::vector<RecordPart> parts;
    for (const Found &one : found)
        parts.push_back(
            {one.table->kind, {}, {one.table->columns.begin(), one.table->columns.end()}, one.row});
    FileParts known;
    if (!found.empty() && !FilePartsRead(&reader, path, &known))
        return Complain(kUnreachable, reader.failure);
    parts.insert(parts.end(), known.parts.begin(), known.parts.end());
    for (const KeptCover &cover : covers)
        parts.push_back(CoverPart(cover));
    RecordPrint(parts, options.json, stdout);
    if (!found.empty())
        return kDone;
    return options.json ? kFound : Complain(kFound, Quoted(path) + " is not in the catalogue");
}
