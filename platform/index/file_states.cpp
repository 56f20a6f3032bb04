// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading the states of files: a directory's at once, through the index of their paths, or one.
#include "platform/index/file_state.h"

#include <algorithm>

#include "platform/index/rows.h"
#include "platform/index/run.h"
#include "platform/index/statements.h"
#include "platform/limits.h"
#include "platform/veluindex.h"

namespace {

// A portion grows as long as it holds nothing but files of the directory itself, and begins anew behind a folder of it.
constexpr int kFirstPortion = 64;
constexpr int kLastPortion = 2048;

std::string Field(const VELUDBResult *rows, int row, const char *column) {
    const char *field = VELUDBFetchField(rows, row, column);
    return field != nullptr ? field : "";
}

void StateAdd(FileStates *states, std::string_view name, const std::string &stamp,
              const std::string &trouble) {
    states->offsets.push_back(static_cast<uint32_t>(states->texts.size()));
    for (const std::string_view text : {name, std::string_view(stamp), std::string_view(trouble)})
        states->texts.append(text).push_back('\0');
}

const char *NameAt(const FileStates &states, uint32_t offset) {
    return states.texts.data() + offset;
}

// Takes what a portion has of the directory, and gives where the next one begins. Returns whether it met folders.
bool PortionTake(FileStates *states, const VELUDBResult *rows, std::string *low) {
    const size_t begin = states->directory.size() + 1;
    bool folders = false;
    for (int row = -1; VELUDBFetchRow(rows, &row) == 0;) {
        const std::string path = Field(rows, row, "path");
        if (path < *low) // in a folder that is done with
            continue;
        const size_t slash = path.find('/', begin);
        folders = folders || slash != std::string::npos;
        if (slash != std::string::npos) {
            *low = RangeUnder(path.substr(0, slash)).high;
        } else if (states->offsets.size() == kFileStatesMax) {
            states->whole = false;
            return folders;
        } else {
            StateAdd(states, std::string_view(path).substr(begin), Field(rows, row, "stamp"),
                     Field(rows, row, "trouble"));
            *low = path + '\x01'; // no path has a smaller byte
        }
    }
    return folders;
}

} // namespace

int FileStatesRead(const char *directory, FileStates *states) {
    *states = {.directory = WithoutTrailingSlashes(directory)};
    PathRange range = RangeUnder(states->directory);
    RunScope scope;
    for (int portion = kFirstPortion;;) {
        const ResultHandle rows =
            RunRead(Catalogue::media, StatementOf(StoreOperation::statesInRange),
                    {TextValue(range.low), TextValue(range.high), VELUDBValue::Integer(portion)});
        if (rows == nullptr)
            return scope.Finish(-1);
        const bool folders = PortionTake(states, rows.get(), &range.low);
        if (VELUDBRowCount(rows.get()) < portion || !states->whole)
            return scope.Finish(0);
        portion = folders ? kFirstPortion : std::min(4 * portion, kLastPortion);
    }
}

int FileStateGet(const FileStates &states, std::string_view name, FileState *state) {
    const auto found = std::lower_bound(
        states.offsets.begin(), states.offsets.end(), name,
        [&](uint32_t offset, std::string_view wanted) { return NameAt(states, offset) < wanted; });
    if (found == states.offsets.end())
        return states.whole ? 0 : FileStateOf((states.directory + '/').append(name).c_str(), state);
    const std::string_view known = NameAt(states, *found);
    if (known != name)
        return 0;
    const char *stamp = known.data() + known.size() + 1;
    state->stamp = stamp;
    state->trouble = stamp + state->stamp.size() + 1;
    return 1;
}

int FileStateOf(const char *path, FileState *state) {
    RunScope scope;
    const std::string key = path;
    const ResultHandle rows =
        RunRead(Catalogue::media, StatementOf(StoreOperation::stateOf), {TextValue(key)});
    if (rows == nullptr)
        return scope.Finish(-1);
    const bool there = VELUDBRowCount(rows.get()) > 0;
    if (there)
        *state = {Field(rows.get(), 0, "stamp"), Field(rows.get(), 0, "trouble")};
    return scope.Finish(there ? 1 : 0);
}
