// SPDX-License-Identifier: GPL-2.0-or-later
//
// Saving what is known of a file: a row, its state, its facts and its entries as one unit of the batch.
#include "platform/index/file_state.h"

#include <time.h>

#include <deque>

#include "platform/index/added_time.h"
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

void UnitAdd(Unit *unit, StoreOperation operation, std::vector<VELUDBValue> values) {
    const std::vector<VELUDBValue> &kept = unit->values.emplace_back(std::move(values));
    unit->writes.push_back({StatementOf(operation), kept.data(), kept.size()});
}

VELUDBValue ViewValue(std::string_view text) {
    return VELUDBValue::Text(text.data(), text.size());
}

// What the index of a server takes is bounded, and so is what one file may put into it.
std::string_view Cut(std::string_view text, size_t most) {
    if (text.size() <= most)
        return text;
    while (most > 0 && Utf8IsContinuation(text[most]))
        --most;
    return text.substr(0, most);
}

void FactPut(std::vector<VELUDBValue> *values, const FileFact &fact) {
    const std::string_view value = Cut(fact.value, kFactValueMax);
    const std::string_view folded = Cut(fact.folded, kFactFoldedMax);
    values->push_back(ViewValue(fact.name));
    values->push_back(VELUDBValue::Integer(fact.position));
    values->push_back(ViewValue(value));
    values->push_back(folded == value ? VELUDBValue() : ViewValue(folded));
}

void EntryPut(std::vector<VELUDBValue> *values, const FileEntry &entry) {
    values->push_back(VELUDBValue::Integer(entry.position));
    values->push_back(ViewValue(Cut(entry.target, kFactValueMax)));
    values->push_back(ViewValue(entry.found));
    values->push_back(ViewValue(Cut(entry.folded_name, kFactFoldedMax)));
}

// Adds the writes of a list, so many of its elements to one, the last filled up with nothing.
template <typename Element, typename Put>
void UnitAddAll(Unit *unit, StoreOperation operation, std::string_view path,
                std::span<const Element> elements, size_t at_once, size_t columns, Put put) {
    for (size_t at = 0; at < elements.size(); at += at_once) {
        std::vector<VELUDBValue> values;
        values.reserve(1 + columns * at_once);
        values.push_back(ViewValue(path));
        for (const Element &element : elements.subspan(at, std::min(at_once, elements.size() - at)))
            put(&values, element);
        values.resize(1 + columns * at_once);
        UnitAdd(unit, operation, std::move(values));
    }
}

// Facts are kept by the numbers of their names. A name is written before the unit in which it comes first: what
// undoes the unit leaves the name.
bool NamesAdd(std::span<const FileFact> facts) {
    for (const FileFact &fact : facts) {
        if (!SessionOpen(Catalogue::media))
            return false;
        if (SessionOf(Catalogue::media).connection->fact_names.contains(fact.name))
            continue;
        if (RunWrite(Catalogue::media, StatementOf(StoreOperation::addFactName), {ViewValue(fact.name)}) < 0)
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
    const std::string_view folded_name = Cut(findings.folded_name, kFactFoldedMax);
    UnitAdd(&unit, StoreOperation::saveState,
            {ViewValue(path), ViewValue(findings.stamp), TextValue(now), ViewValue(findings.trouble),
             folded_name.empty() ? VELUDBValue() : ViewValue(folded_name)});
    UnitAdd(&unit, StoreOperation::removeFacts, {ViewValue(path)});
    UnitAddAll(&unit, StoreOperation::saveFacts, path, findings.facts, kFactsAtOnce, kFactColumns, FactPut);
    if (kind != kMediaPlaylist)
        return unit;
    UnitAdd(&unit, StoreOperation::removeEntries, {ViewValue(path)});
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
                          ? RunWriteUnit(Catalogue::media, UnitOf(kind, row, path, now, findings).writes)
                          : -1;
    if (saved >= 0)
        MediaRowSaved(kind, *record);
    return scope.Finish(saved < 0 ? -1 : 0);
}
