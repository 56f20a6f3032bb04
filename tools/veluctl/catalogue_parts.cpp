// SPDX-License-Identifier: GPL-2.0-or-later
//
// By the daemon's own recipes, up to what they would save.
#include "tools/veluctl/catalogue_parts.h"

#include "audio/cover_file.h"
#include "catalogue/file_report.h"
#include "catalogue/read_row.h"
#include "catalogue/reader_cover.h"
#include "daemon/index.h"
#include "daemon/index_left_out.h"
#include "tools/veluctl/log_lines.h"
#include "tools/veluctl/record_parts.h"

namespace {

constexpr char kName[] = "the catalogue would hold";

RecordPart RowPart(MediaKind kind, const MediaInfo &record) {
    RecordPart part = MediaPart(kName, record, true);
    part.columns.insert(part.columns.begin(), {"table", "table", Type::text});
    part.values.insert(part.values.begin(), kMediaTables[kind]);
    return part;
}

void RowOfReader(const FileReport &report, MediaKind named, const std::string &path, FileParts *all) {
    ReadRow row = ReadRowOf(report, named, path.c_str());
    row.record.has_cover = FileCoverSave(report, row.kind, path.c_str(), false).there ? 1 : 0;
    CoversClean(path.c_str());
    RecordPart part = RowPart(row.kind, row.record);
    if (!ReportIsRead(report))
        part.said.push_back("the row of its name, since it cannot be read: " + ReportReason(report));
    all->parts.push_back(std::move(part));
    RecordPart facts = {"its facts", {}, {}, {}};
    for (const FileFact &fact : row.facts.facts)
        FactPut(all, &facts, std::string(fact.name), std::string(fact.value));
    if (!facts.columns.empty())
        all->parts.push_back(std::move(facts));
}

void RowOfRecipe(const IndexRecipe &recipe, const std::string &path, FileParts *all) {
    MediaInfo record = {};
    LogLinesTake();
    const int result = IndexRecipeRecord(recipe, path.c_str(), &record);
    CoversClean(path.c_str());
    RecordPart part = result >= 0 ? RowPart(recipe.kind, record) : RecordPart{kName, {"no row"}, {}, {}};
    for (std::string &line : LogLinesTake())
        part.said.push_back(std::move(line));
    all->parts.push_back(std::move(part));
}

} // namespace

FileParts CatalogueParts(const std::string &path, const FileReport &report) {
    FileParts all;
    const IndexHandler *handler = IndexHandlerOf(path.c_str());
    if (const LeftOut why = FileLeftOut(path.c_str()); why != LeftOut::nothing || handler == nullptr) {
        all.parts.push_back(
            {kName,
             {std::string("no row: its name is ") + LeftOutWords(why) + " (veluctl why tells more)"},
             {},
             {}});
        return all;
    }
    const IndexRecipe &recipe = IndexRecipeOf(handler->indexer);
    if (IndexRecipeReader(recipe, path.c_str()) != nullptr)
        RowOfReader(report, recipe.kind, path, &all);
    else
        RowOfRecipe(recipe, path, &all);
    return all;
}
