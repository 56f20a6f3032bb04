// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a rename takes along while rows are removed at one place and added at another.
#include "platform/index/file_move.h"

#include "platform/index/file_state.h"
#include "platform/index/rows.h"
#include "platform/index/run.h"
#include "platform/index/run_session.h"
#include "platform/index/statements.h"
#include "platform/veluindex.h"

void FileMoveTakeAlong(const std::string &path) {
    MovedFiles &moved = run_state.moved;
    if (moved.from.empty() || !PathIsAtOrUnder(path, moved.from) || !SessionHasFiles())
        return;
    const PathRange range = RangeUnder(path);
    const std::string target = moved.to + path.substr(moved.from.size());
    const int copied = RunWrite(
        Catalogue::media, StatementOf(StoreOperation::copyStates),
        {TextValue(target), TextValue(path), TextValue(path), TextValue(range.low), TextValue(range.high)});
    moved.copied = moved.copied || copied > 0;
}

FileMove::FileMove(const char *new_path, const char *old_path) {
    const std::string from = WithoutTrailingSlashes(old_path);
    const std::string to = WithoutTrailingSlashes(new_path);
    if (from != to)
        run_state.moved = {from, to, false};
}

FileMove::~FileMove() {
    run_state.moved = {};
}

void FileMove::Finish() {
    const MovedFiles moved = run_state.moved;
    run_state.moved = {};
    if (!moved.copied)
        return;
    const PathRange range = RangeUnder(moved.to);
    RunScope scope;
    RunWrite(Catalogue::media, StatementOf(StoreOperation::removeLostStatesIn),
             {TextValue(moved.to), TextValue(range.low), TextValue(range.high)});
}
