// SPDX-License-Identifier: GPL-2.0-or-later
//
// Saving what is known of a file: a row, its state, its facts and its entries as one unit of the batch.
#include "platform/index/file_state.h"

#include <time.h>

#include <deque>

#include "platform/index/added_time.h"
#include "platform/index/cover_notes.h"
#include "platform/index/media_row.h"
#include "platform/index/rows.h"
#include "platform/index/run.h"
#include "platform/index/run_session.h"
#include "platform/index/statements.h"
#include "platform/limits.h"
#include "platform/utf8.h"
#include "platform/veluindex.h"

namespace {

// A write with the values that it points at.
struct Unit {
    std::vector<StoreWrite> writes;
    std::deque<std::vector<VELUDBValue>> values; // whose elements never move
};

void UnitAdd(Unit *unit, StoreOperation operation, std::vector<VELUDBValue> values,
             const char *table = kMediaTables[0]) {
    const std::vector<VELUDBValue> &kept = unit->values.emplace_back(std::move(values));
    unit->writes.push_back({StatementOf(operation, table), kept.data(), kept.size()});
}

// What the index of a server takes is bounded, and so is what one file may put into it.
void FactPut(std::vector<VELUDBValue> *values, const FileFact &fact) {
    const std::string_view value = Utf8Front(fact.value, kFactValueMax);
    const std::string_view folded = Utf8Front(fact.folded, kFactFoldedMax);
    values->push_back(TextValue(fact.name));
    values->push_back(VELUDBValue::Integer(fact.position));
    values->push_back(TextValue(value));
    values->push_back(folded == value ? VELUDBValue() : TextValue(folded));
}

void EntryPut(std::vector<VELUDBValue> *values, const FileEntry &entry) {
    values->push_back(VELUDBValue::Integer(entry.position));
    values->push_back(TextValue(Utf8Front(entry.target, kFactValueMax)));
    values->push_back(TextValueOrNull(entry.written));
    values->push_back(TextValue(entry.found));
    values->push_back(TextValueOrNull(Utf8Front(entry.folded_name, kFactFoldedMax)));
}

// Adds the writes of a list, so many of its elements to one, the last filled up with nothing.
template <typename Element, typename Put>
void UnitAddAll(Unit *unit, StoreOperation operation, std::string_view path,
                std::span<const Element> elements, size_t at_once, size_t columns, Put put) {
    for (size_t at = 0; at < elements.size(); at += at_once) {
        std::vector<VELUDBValue> values;
        values.reserve(1 + columns * at_once);
        values.push_back(TextValue(path));
        for (const Element &element : elements.subspan(at, std::min(at_once, elements.size() - at)))
            put(&values, element);
        values.resize(1 + columns * at_once);
        UnitAdd(unit, operation, std::move(values));
    }
}

void UnitAddFacts(Unit *unit, std::string_view path, std::span<const FileFact> facts) {
    if (facts.size() <= kFewFacts)
        UnitAddAll(unit, StoreOperation::saveFewFacts, path, facts, kFewFacts, kFactColumns, FactPut);
    else
        UnitAddAll(unit, StoreOperation::saveFacts, path, facts, kFactsAtOnce, kFactColumns, FactPut);
}

// Facts are kept by the numbers of their names. A name is written before the unit in which it comes first: what
// undoes the unit leaves the name.
bool NamesAdd(std::span<const FileFact> facts) {
    for (const FileFact &fact : facts) {
        if (!SessionOpen(Catalogue::media))
            return false;
        if (SessionOf(Catalogue::media).connection->fact_names.contains(fact.name))
            continue;
        if (RunWrite(Catalogue::media, StatementOf(StoreOperation::addFactName), {TextValue(fact.name)}) < 0)
            return false;
        if (const StoreConnectionRef &connection = SessionOf(Catalogue::media).connection)
            connection->fact_names.emplace(fact.name);
    }
    return true;
}

Unit UnitOf(int kind, const MediaRow &row, std::string_view path, const std::string &now,
            const FileFindings &findings) {
    Unit unit;
    unit.writes.push_back(
        {StatementOf(StoreOperation::saveRow, kMediaTables[kind]), row.values.data(), row.values.size()});
    for (const int other : findings.displaced)
        UnitAdd(&unit, StoreOperation::removeRow, {TextValue(path)}, kMediaTables[other]);
    const std::string_view folded_name = Utf8Front(findings.folded_name, kFactFoldedMax);
    UnitAdd(&unit, StoreOperation::saveState,
            {TextValue(path), TextValue(findings.stamp), TextValue(now), TextValue(findings.trouble),
             TextValueOrNull(folded_name)});
    UnitAdd(&unit, StoreOperation::removeFacts, {TextValue(path)});
    UnitAddFacts(&unit, path, findings.facts);
    if (kind != kMediaPlaylist)
        return unit;
    UnitAdd(&unit, StoreOperation::removeEntries, {TextValue(path)});
    UnitAddAll(&unit, StoreOperation::saveEntries, path, findings.entries, kEntriesAtOnce, kEntryColumns,
               EntryPut);
    return unit;
}

} // namespace

int MediaInfoDBSaveFile(int kind, const MediaInfo *record, const FileFindings &findings) {
    if (!MediaRowIsGood(kind, record))
        return -1;
    RunScope scope;
    const MediaRow row = MediaRowOf(*record);
    const std::string_view path(row.values[0].text, row.values[0].length);
    const std::string now = AddedTimeText(time(nullptr));
    const int saved = NamesAdd(findings.facts)
                          ? RunWriteUnit(Catalogue::media, UnitOf(kind, row, path, now, findings).writes,
                                         findings.first_cover)
                          : -1;
    if (saved < 0)
        return scope.Finish(-1);
    CoverNotesInBatch();
    MediaRowSaved(kind, *record);
    for (const int other : findings.displaced)
        MarkDirty(kMediaTables[other]);
    return scope.Finish(0);
}

int FileChangesSave(const char *path, const FileChanges &changes) {
    RunScope scope;
    if (SessionLacksFiles())
        return scope.Finish(0);
    const bool cover = changes.cover_kind >= 0;
    Unit unit;
    UnitAdd(&unit, StoreOperation::saveTrouble,
            {TextValue(path), TextValue(changes.stamp), TextValue(changes.trouble)});
    for (const std::string_view name : changes.names)
        UnitAdd(&unit, StoreOperation::removeFactsOf, {TextValue(path), TextValue(name)});
    UnitAddFacts(&unit, path, changes.facts);
    if (cover)
        UnitAdd(&unit, StoreOperation::saveCover,
                {VELUDBValue::Integer(changes.has_cover ? 1 : 0), TextValue(path)},
                kMediaTables[changes.cover_kind]);
    const int saved =
        NamesAdd(changes.facts) ? RunWriteUnit(Catalogue::media, unit.writes, changes.first_cover) : -1;
    if (saved < 0)
        return scope.Finish(-1);
    if (cover) {
        CoverNotesInBatch();
        MarkDirty(kMediaTables[changes.cover_kind]);
    }
    return scope.Finish(0);
}
