// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/file_folding.h"

#include <stdlib.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/folding/folding.h"
#include "platform/index/file_state.h"
#include "platform/index/folded_rows.h"
#include "platform/index/statements.h"
#include "platform/index/store.h"
#include "platform/limits.h"

namespace {

// Of the texts of so many files there is room in memory, however many each has.
constexpr int kFilesAtOnce = 64;

// The folding of all texts, as the catalogue has it.
struct Folding {
    int64_t version = 0;
    int64_t folded_to = 0;
    bool all = false;
};

bool FoldingRead(VELUDB *db, Folding *folding) {
    return StoreAlone(db, Catalogue::media, [&] {
               const ResultHandle rows = VELUDBQuery(db, "select version, folded_to from file_folding");
               if (rows == nullptr)
                   return -1;
               const char *version = VELUDBFetchField(rows.get(), 0, "version");
               const char *folded_to = VELUDBFetchField(rows.get(), 0, "folded_to");
               *folding = {version != nullptr ? strtoll(version, nullptr, 10) : 0,
                           folded_to != nullptr ? strtoll(folded_to, nullptr, 10) : 0, folded_to == nullptr};
               return 0;
           }) >= 0;
}

bool FoldingNote(VELUDB *db, const Folding &folding) {
    const std::string folded_to = folding.all ? "null" : std::to_string(folding.folded_to);
    return VELUDBExecute(db, "delete from file_folding", nullptr) >= 0 &&
           VELUDBExecute(db,
                         ("insert into file_folding (version, folded_to) values (" +
                          std::to_string(folding.version) + ", " + folded_to + ")")
                             .c_str(),
                         nullptr) >= 0;
}

// The statements that are needed, as prepared on the connection.
struct Prepared {
    int files;
    int facts;
    int fold_names;
    int fold_facts;
    int unresolve_entries;
};

bool StatementsPrepare(VELUDB *db, Prepared *prepared) {
    const auto prepare = [&](StoreOperation operation) {
        return VELUDBPrepare(db, StatementText(StatementOf(operation)).c_str());
    };
    *prepared = {prepare(StoreOperation::filesFrom), prepare(StoreOperation::factsOfFiles),
                 prepare(StoreOperation::foldNames), prepare(StoreOperation::foldFacts),
                 prepare(StoreOperation::unresolveEntries)};
    return std::min({prepared->files, prepared->facts, prepared->fold_names, prepared->fold_facts,
                     prepared->unresolve_entries}) >= 0;
}

bool RowsRun(VELUDB *db, int prepared, const FoldedRows &rows) {
    return FoldedRowsWrite(rows, [&](int, const std::vector<VELUDBValue> &values) {
        return VELUDBRun(db, prepared, values.data(), values.size(), nullptr) >= 0;
    });
}

// Text that is its own folding is kept once.
bool FactsFold(VELUDB *db, const Prepared &prepared, int64_t behind, int64_t last) {
    const VELUDBValue range[] = {VELUDBValue::Integer(behind), VELUDBValue::Integer(last)};
    const ResultHandle rows = VELUDBRunQuery(db, prepared.facts, range, std::size(range));
    if (rows == nullptr)
        return false;
    FoldedRows folded = FoldedFacts();
    for (int row = -1; VELUDBFetchRow(rows.get(), &row) == 0;) {
        const std::string value = VELUDBFetchText(rows.get(), row, "value");
        std::optional<std::string> wanted = TextFolded(value, kFactFoldedMax);
        if (*wanted == value)
            wanted.reset();
        const char *had = VELUDBFetchField(rows.get(), row, "folded");
        if (wanted ? had != nullptr && *wanted == had : had == nullptr)
            continue;
        for (const char *key : {"file", "name", "position"})
            folded.fields.emplace_back(VELUDBFetchText(rows.get(), row, key));
        folded.fields.push_back(std::move(wanted));
    }
    return RowsRun(db, prepared.fold_facts, folded);
}

// Folds what there is of the next files, and notes how far it has come. Entries are folded when they are looked at again.
bool PortionFold(VELUDB *db, const Prepared &prepared, Folding *folding) {
    const VELUDBValue from[] = {VELUDBValue::Integer(folding->folded_to), VELUDBValue::Integer(kFilesAtOnce)};
    const ResultHandle files = VELUDBRunQuery(db, prepared.files, from, std::size(from));
    if (files == nullptr)
        return false;
    FoldedRows names = FoldedNames();
    int64_t last = folding->folded_to;
    for (int row = -1; VELUDBFetchRow(files.get(), &row) == 0;) {
        const char *id = VELUDBFetchText(files.get(), row, "id");
        const char *had = VELUDBFetchField(files.get(), row, "folded_name");
        std::string wanted = FileNameFolded(VELUDBFetchText(files.get(), row, "path"));
        last = strtoll(id, nullptr, 10);
        if (had == nullptr || wanted != had)
            names.fields.insert(names.fields.end(), {id, std::move(wanted)});
    }
    const VELUDBValue range[] = {VELUDBValue::Integer(folding->folded_to), VELUDBValue::Integer(last)};
    if (!RowsRun(db, prepared.fold_names, names) || !FactsFold(db, prepared, folding->folded_to, last) ||
        VELUDBRun(db, prepared.unresolve_entries, range, std::size(range), nullptr) < 0)
        return false;
    folding->folded_to = last;
    folding->all = VELUDBRowCount(files.get()) < kFilesAtOnce;
    return FoldingNote(db, *folding);
}

} // namespace

int FilesFoldAgain(VELUDB *db) {
    Folding folding;
    if (!FoldingRead(db, &folding))
        return -1;
    const int64_t version = FoldingVersion();
    if (folding.version == version && folding.all)
        return 0;
    if (folding.version > version)
        return StoreTogether(db, Catalogue::media, [&] { return FoldingNote(db, {version, 0, true}); });
    if (folding.version < version)
        folding = {version, 0, false};
    Prepared prepared;
    if (!StatementsPrepare(db, &prepared))
        return -1;
    while (!folding.all) {
        if (StoreTogether(db, Catalogue::media, [&] { return PortionFold(db, prepared, &folding); }) != 0)
            return -1;
    }
    return 0;
}
