// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/file_entries.h"

#include <stdlib.h>

#include <algorithm>

#include "platform/index/run.h"
#include "platform/index/run_session.h"
#include "platform/index/statements.h"
#include "platform/playlist_bounds.h"

namespace {

// Entries that are looked at together.
constexpr int kPortionEntries = 200;

ResultHandle EntriesRead(const EntryPlace &place, int most) {
    return RunRead(Catalogue::media, StatementOf(StoreOperation::unresolvedEntries),
                   {TextValue(place.folded_name), VELUDBValue::Integer(place.file),
                    VELUDBValue::Integer(place.position), VELUDBValue::Integer(most)});
}

// False for more files than are wanted, and when they cannot be read, which `failed` tells.
bool NamesRead(std::span<const std::string> folded_names, std::vector<NamedFile> *files, bool *failed) {
    std::vector<VELUDBValue> values(kNamesAtOnce + 1);
    std::transform(folded_names.begin(), folded_names.end(), values.begin(), TextValue);
    values.back() = VELUDBValue::Integer(static_cast<int64_t>(kPlaylistFilesMax) + 1);
    const ResultHandle rows = RunRead(Catalogue::media, StatementOf(StoreOperation::filesNamed),
                                      std::span<const VELUDBValue>(values));
    *failed = rows == nullptr;
    if (*failed || VELUDBRowCount(rows.get()) > static_cast<int>(kPlaylistFilesMax))
        return false;
    for (int row = -1; VELUDBFetchRow(rows.get(), &row) == 0;)
        files->push_back(
            {VELUDBFetchText(rows.get(), row, "path"), VELUDBFetchText(rows.get(), row, "folded_name")});
    return true;
}

} // namespace

bool EntriesAreUnresolved() {
    if (SessionOf(Catalogue::media).connection == nullptr || !SessionHasFiles())
        return false;
    const ResultHandle rows = EntriesRead({}, 1);
    return rows != nullptr && VELUDBRowCount(rows.get()) > 0;
}

int EntriesUnresolvedRead(EntryPlace *place, std::vector<UnresolvedEntry> *entries) {
    entries->clear();
    // What decides a write is read behind one that keeps others away from it.
    if (RunIsShared(Catalogue::media) &&
        RunWrite(Catalogue::media, StatementOf(StoreOperation::claimEntries),
                 {TextValue(place->folded_name), VELUDBValue::Integer(place->file),
                  VELUDBValue::Integer(place->position), VELUDBValue::Integer(kPortionEntries)}) < 0)
        return -1;
    const ResultHandle rows = EntriesRead(*place, kPortionEntries);
    if (rows == nullptr)
        return -1;
    for (int row = -1; VELUDBFetchRow(rows.get(), &row) == 0;) {
        const auto text = [&](const char *column) { return VELUDBFetchText(rows.get(), row, column); };
        *place = {text("folded_name"), strtoll(text("file"), nullptr, 10), atoi(text("position"))};
        entries->push_back({place->file, place->position, text("target"), text("written"), text("path")});
    }
    return 0;
}

int FilesNamedRead(std::span<const std::string> folded_names, std::vector<NamedFile> *files, bool *whole) {
    bool failed = false;
    if (folded_names.empty())
        return 0;
    if (folded_names.size() <= kNamesAtOnce && NamesRead(folded_names, files, &failed))
        return 0;
    if (failed)
        return -1;
    if (folded_names.size() == 1) {
        *whole = false;
        return 0;
    }
    const size_t half = folded_names.size() / 2;
    return FilesNamedRead(folded_names.first(half), files, whole) == 0
               ? FilesNamedRead(folded_names.subspan(half), files, whole)
               : -1;
}

int EntriesResolve(std::span<const ResolvedEntry> entries) {
    for (size_t at = 0; at < entries.size(); at += kEntriesAtOnce) {
        std::vector<VELUDBValue> values;
        for (const ResolvedEntry &entry : entries.subspan(at, std::min(kEntriesAtOnce, entries.size() - at)))
            values.insert(values.end(),
                          {VELUDBValue::Integer(entry.file), VELUDBValue::Integer(entry.position),
                           TextValue(entry.found), TextValue(entry.folded_name)});
        values.resize(kEntriesAtOnce * kResolvedColumns);
        if (RunWrite(Catalogue::media, StatementOf(StoreOperation::resolveEntries), values.data(),
                     values.size()) < 0)
            return -1;
    }
    return 0;
}
