// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/file_facts.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <utility>

#include "platform/db/words.h"
#include "platform/index/schema.h"
#include "tools/veluctl/fact_type.h"

namespace {

constexpr char kBetweenValues[] = "; ";

Type TypeOf(std::string_view name) {
    if (name == "added")
        return Type::moment;
    const auto known = std::ranges::find(kFacts, name, &FactKind::word);
    return known != std::end(kFacts) ? ShownType(known->type) : Type::text;
}

std::string TextOf(const ResultHandle &rows, int row, const char *column) {
    const char *field = VELUDBFetchField(rows.get(), row, column);
    return field != nullptr ? field : "";
}

} // namespace

void FactPut(FileParts *all, RecordPart *part, std::string name, std::string value) {
    if (!part->columns.empty() && part->columns.back().name == name) {
        part->columns.back().type = Type::text;
        part->values.back() = *part->values.back() + kBetweenValues + value;
        return;
    }
    const Type type = TypeOf(name);
    const std::string &kept = all->names.emplace_back(std::move(name));
    part->columns.push_back({kept.c_str(), kept.c_str(), type});
    part->values.emplace_back(std::move(value));
}

namespace {

bool StateRead(CatalogueReader *reader, const std::string &path, FileParts *all) {
    const ResultHandle rows = CatalogueQuery(reader, Catalogue::media,
                                             "select added, trouble from file_state where path = $1", {path});
    if (rows == nullptr)
        return false;
    RecordPart part = {"file", {}, {}, {}};
    for (int row = -1; VELUDBFetchRow(rows.get(), &row) == 0;) {
        FactPut(all, &part, "added", TextOf(rows, row, "added"));
        if (std::string trouble = TextOf(rows, row, "trouble"); !trouble.empty())
            FactPut(all, &part, "trouble", std::move(trouble));
        all->parts.push_back(part);
    }
    return true;
}

bool FactsRead(CatalogueReader *reader, const std::string &path, FileParts *all) {
    const ResultHandle rows =
        CatalogueQuery(reader, Catalogue::media,
                       "select name, value from fact where path = $1 order by name, position", {path});
    if (rows == nullptr)
        return false;
    RecordPart part = {"facts", {}, {}, {}};
    for (int row = -1; VELUDBFetchRow(rows.get(), &row) == 0;)
        FactPut(all, &part, TextOf(rows, row, "name"), TextOf(rows, row, "value"));
    if (!part.columns.empty())
        all->parts.push_back(std::move(part));
    return true;
}

} // namespace

int FileTablesLook(CatalogueReader *reader) {
    VELUDB *database = CatalogueConnect(reader, Catalogue::media);
    if (database == nullptr)
        return -1;
    std::string has_files = VELUDBWordsOf(database).has_table;
    has_files.replace(has_files.find("TABLE"), strlen("TABLE"), kFileVersionTable);
    const ResultHandle rows = CatalogueQuery(reader, Catalogue::media, "select " + has_files + " as n", {});
    if (rows == nullptr)
        return -1;
    return TextOf(rows, 0, "n") == "0" ? 0 : 1;
}

bool FilePartsRead(CatalogueReader *reader, const std::string &path, FileParts *parts) {
    const int there = FileTablesLook(reader);
    return there == 0 || (there > 0 && StateRead(reader, path, parts) && FactsRead(reader, path, parts));
}
