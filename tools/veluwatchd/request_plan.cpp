// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/request_plan.h"

#include <set>
#include <utility>

#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "photo/album_path.h"
#include "platform/media_record.h"
#include "platform/rule_set.h"
#include "tools/queue/request_line.h"
#include "tools/queue/request_path.h"
#include "tools/veluwatchd/bounds.h"

namespace {

struct Plan {
    Changes *changes;
    const PlanSettings *settings;
    WatchTime now;
    Asked asked; // what this plan asks for
    std::string lines;
    std::set<std::string> trees;   // that are indexed anew
    std::set<std::string> holders; // directories that are walked for what no line can carry
    bool photo_resync = false;
};

bool InLibrary(const Plan &plan, const std::string &path) {
    return plan.changes->photo_library && IsPhotoPath(path.c_str()) != 0;
}

void LineAdd(Plan *plan, const std::string &path, const RequestLine &formed, uint8_t asked) {
    if (!formed.refusal.empty()) {
        plan->settings->refuse(path, formed.refusal);
        return;
    }
    plan->lines += formed.line;
    plan->asked.paths[path] |= asked;
}

// By the rules `complete` a new file or tree whose name no line can carry is found by a walk of the directory that holds it, which opens
// nothing that has not changed.
bool HolderAdd(Plan *plan, std::string path) {
    if (RuleSetActive() != RuleSet::complete || path.size() >= kMediaPathSize)
        return false;
    RequestLine formed;
    do {
        if (path == "/" || plan->settings->share_word(path).has_value())
            return false;
        path = ParentOf(path);
        formed = RequestLineForm(kCommandTreeAdd, path);
    } while (!formed.refusal.empty());
    if (plan->holders.insert(path).second)
        LineAdd(plan, path, formed, kTreeCame);
    return true;
}

void RequestAdd(Plan *plan, QueueCommand command, const std::string &path, uint8_t asked) {
    const RequestLine formed = RequestLineForm(command, path);
    const bool came = command == kCommandFileAdd || command == kCommandTreeAdd;
    if (formed.refusal.empty() || !came || !HolderAdd(plan, path))
        LineAdd(plan, path, formed, asked);
}

// Makes the rows of a tree equal to what is on the disk, whatever they are. "A" takes no row away, and "D" refuses a
// tree that is there; a tree that is renamed to itself loses its rows and is walked. Where a path has no place in
// such a line (a colon), the directory above it is taken. The photo library's own rows stay in a rename: they need its
// mark and sweep.
void TreeReindex(Plan *plan, std::string path) {
    if (InLibrary(*plan, path))
        plan->photo_resync = true;
    while (true) {
        const std::optional<std::string> word = plan->settings->share_word(path);
        const bool known = word.has_value() && !word->empty();
        const RequestLine formed =
            known ? RequestLineForm(kCommandReindex, *word) : RenameLineForm(path, path);
        if (formed.refusal.empty() || word.has_value() || path == "/") {
            if (plan->trees.insert(path).second)
                LineAdd(plan, path, formed, kTreeCame);
            return;
        }
        path = ParentOf(path);
    }
}

// An album that is put where there are none: its row is renamed all the same, and those of its own albums stay. The
// library's sweep takes them away.
bool LeavesAlbumRows(const Rename &rename) {
    return PhotoShareLevelGet(rename.new_path.c_str()) == kAlbumDeeper &&
           PhotoShareLevelGet(rename.old_path.c_str()) != kAlbumDeeper;
}

void DirectoryPlan(Plan *plan, const std::string &path, uint8_t flags) {
    if ((flags & kGone) != 0)
        TreeReindex(plan, path);
    else if ((flags & kTreeCame) != 0)
        RequestAdd(plan, kCommandTreeAdd, path, kTreeCame);
    // Else a link to a directory was touched.
}

// By the rules `complete` files are not asked for of which nothing comes; by the others the daemon looks at all.
bool MayMatter(const std::string &path) {
    const char *extension = VELUIndexExtGet(path.c_str());
    return RuleSetActive() != RuleSet::complete || (extension != nullptr && IsExtensionOfUse(extension));
}

void PathPlan(Plan *plan, const std::string &path, uint8_t flags, PathKind kind) {
    switch (kind) {
    case PathKind::directory:
        DirectoryPlan(plan, path, flags);
        break;
    case PathKind::file:
        if ((flags & kTreeGone) != 0) // rows below a file: no request for the file's path removes them
            TreeReindex(plan, ParentOf(path));
        else if (MayMatter(path))
            RequestAdd(plan, kCommandFileAdd, path, kFileTouched);
        break;
    case PathKind::gone:
        if ((flags & kTreeGone) != 0)
            RequestAdd(plan, kCommandTreeRemove, path, kTreeGone);
        else if ((flags & (kFileGone | kFileTouched)) != 0) // or a link that leads nowhere took its place
            RequestAdd(plan, kCommandFileRemove, path, kFileGone);
        break;
    }
}

// A file that is being written to is left for later. One that was created and not closed yet may be closed
// already, by a program that had no right to write; then nothing more is heard of it.
bool IsAtRest(const Plan &plan, const Change &change, const PathState &state) {
    if (plan.settings->everything || state.kind != PathKind::file || (change.flags & kTreeGone) != 0)
        return true;
    if (plan.now - change.touched < plan.settings->settle)
        return false;
    return (change.flags & kFileOpen) == 0 || state.age < 0 || state.age >= plan.settings->settle.count();
}

// What a request for a tree leaves to be asked for below it. One that adds takes no row away.
bool IsCovered(const std::string &path, uint8_t flags, const std::string &tree, bool added) {
    return !tree.empty() && IsBelow(path, tree) && !(added && (flags & kGone) != 0);
}

void PathsPlan(Plan *plan) {
    ChangeMap &paths = plan->changes->paths;
    std::string tree; // that is asked for whole
    bool added = false;
    for (auto at = paths.begin(); at != paths.end();) {
        const auto &[path, change] = *at;
        if (IsCovered(path, change.flags, tree, added)) {
            at = paths.erase(at);
            continue;
        }
        const PathState state = plan->settings->look(path);
        if (!IsAtRest(*plan, change, state)) {
            ++at;
            continue;
        }
        PathPlan(plan, path, change.flags, state.kind);
        const uint8_t whole = state.kind == PathKind::directory ? kGone | kTreeCame : kTreeGone;
        if ((change.flags & whole) != 0 && !IsBelow(path, tree)) {
            tree = path;
            added = state.kind == PathKind::directory && (change.flags & kGone) == 0;
        }
        at = paths.erase(at);
    }
}

// In front of all others: rows follow a rename before anything is said of their new paths.
void RenamesPlan(Plan *plan) {
    for (const Rename &rename : std::exchange(plan->changes->renames, {})) {
        if (rename.directory && plan->settings->look(rename.new_path).kind != PathKind::directory) {
            TreeGone(plan->changes, rename.old_path, plan->now);
            TreeGone(plan->changes, rename.new_path, plan->now);
            continue;
        }
        const RequestLine formed = RenameLineForm(rename.new_path, rename.old_path);
        if (!formed.refusal.empty()) { // the new name has become one that no line can carry
            RenameSplit(plan->changes, rename, plan->now);
            continue;
        }
        plan->lines += formed.line;
        if (rename.directory) {
            plan->asked.renames.push_back(rename);
            plan->photo_resync =
                plan->photo_resync || (InLibrary(*plan, rename.new_path) && LeavesAlbumRows(rename));
            continue;
        }
        plan->asked.paths[rename.new_path] |= kFileTouched;
        plan->asked.paths[rename.old_path] |= kFileGone;
    }
}

void AskedAdd(Asked *asked, Asked *more) {
    for (const auto &[path, flags] : more->paths)
        asked->paths[path] |= flags;
    asked->renames.insert(asked->renames.end(), more->renames.begin(), more->renames.end());
    if (asked->paths.size() + asked->renames.size() > kAskedMax) {
        asked->lost = true;
        asked->paths.clear();
    }
}

} // namespace

std::string RequestPlanMake(Changes *changes, WatchTime now, const PlanSettings &settings) {
    Plan plan = {changes, &settings, now, {}, {}, {}, {}, false};
    RenamesPlan(&plan);
    for (const std::string &path : std::exchange(changes->reindex, {}))
        TreeReindex(&plan, path);
    PathsPlan(&plan);
    if (plan.photo_resync)
        plan.lines += RequestLineForm(kCommandReindex, kPhotoWord).line;
    AskedAdd(&changes->asked, &plan.asked);
    return plan.lines;
}
