// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/walk_reindex.h"

#include <errno.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <string>
#include <vector>

#include "daemon/directory.h"
#include "daemon/index.h"
#include "daemon/index_left_out.h"
#include "daemon/storage_away.h"
#include "daemon/storage_mounts.h"
#include "daemon/tree_cursor.h"
#include "daemon/turns.h"
#include "daemon/walk_presence.h"
#include "daemon/walk_progress.h"
#include "platform/path.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "index.c";

struct Entered {
    size_t saved; // what the sweep remembered at the directory
    bool kept;    // a line has said so
};

struct Reindex {
    std::vector<std::string> away;       // places on storage that is
    std::vector<Entered> entered = {};   // the directories that the walk is in
    std::vector<std::string> links = {}; // links to directories of other file systems
    bool well = true;                    // all else was read
};

struct SweepScope {
    SweepScope() { MediaSweepBegin(); }
    ~SweepScope() { MediaSweepEnd(); } // also when memory runs out
    SweepScope(const SweepScope &) = delete;
    SweepScope &operator=(const SweepScope &) = delete;
};

void RowsKeep(Reindex *reindex, const std::string &path, const char *reason, int line = __builtin_LINE()) {
    syslog(LOG_ERR, "%s (%d) The rows at and below %s are kept. (%s)", kLogName, line, path.c_str(), reason);
    MediaSweepKeep(path.c_str());
    reindex->well = false;
}

void DirectoryAddTo(Reindex *reindex, const std::string &path) {
    MediaSweepDirectory(path.c_str());
    const bool saved = DirectoryAdd(path.c_str()) == 0;
    if (!saved || !IsDirExist(path.c_str()))
        RowsKeep(reindex, path, saved ? "it could not be looked at" : "its own row could not be saved");
    reindex->entered.push_back({MediaSweepCount(), !saved});
    for (const std::string &away : reindex->away) {
        if (away.compare(0, away.rfind('/'), path) == 0)
            MediaSweepKeep(away.c_str());
    }
}

void DirectoryEnter(Reindex *reindex, Turns *turns, TreeCursor *cursor) {
    const std::string &path = cursor->path;
    if (std::ranges::find(reindex->away, path) != reindex->away.end()) {
        TreeLeave(cursor);
        return;
    }
    if (IsLinkToOtherDevice(*cursor))
        reindex->links.push_back(path);
    TurnTake(turns, path, [=](const std::string &directory) { DirectoryAddTo(reindex, directory); });
}

// A file that no indexer could save keeps its row when that is not the file's own fault.
void FileReindex(Reindex *reindex, const std::string &path) {
    VELUIndexRunPause();
    const size_t saved = MediaSweepCount();
    const uint64_t failures = VELUIndexRunFailures(Catalogue::media);
    IndexFileAdd(path.c_str(), kIndexAdd);
    ProgressFile(path);
    if (MediaSweepCount() != saved || !IsIndexedPath(path.c_str()))
        return;
    off_t size = 0;
    if (VELUIndexRunFailures(Catalogue::media) != failures)
        RowsKeep(reindex, path, "it could not be saved");
    else if (MetFileLook(path.c_str(), &size) == MetFile::unreadable)
        RowsKeep(reindex, path, "it could not be read");
}

void FileKeep(const std::string &path) {
    VELUIndexRunPause();
    MediaSweepKeep(path.c_str());
    ProgressFile(path);
}

void EntryReindex(Reindex *reindex, Turns *turns, const TreeCursor &cursor) {
    if (cursor.kind == EntryKind::file)
        FileTurnTake(
            turns, cursor.path, [=](const std::string &file) { FileReindex(reindex, file); }, FileKeep);
    else
        LeftOutCount(LeftOutCounted(), cursor.error != 0 ? LeftOut::unseen : LeftOut::special);
    if (const int error = cursor.error; error != 0)
        TurnTake(turns, cursor.path,
                 [=](const std::string &path) { RowsKeep(reindex, path, strerror(error)); });
}

// What the cursor tells of a directory that the walk has left.
struct Left {
    PlaceEnd end;
    int error;
    size_t levels; // above it
};

void DirectorySweep(Reindex *reindex, const std::string &path, const Left &left) {
    const bool unread = IsUnread(left.end);
    if (unread)
        syslog(LOG_ERR, "%s (%d) Failed to open directory %s ", kLogName, __LINE__, path.c_str());
    bool swept = true;
    bool kept = false;
    if (reindex->entered.size() > left.levels) {
        const Entered entered = reindex->entered.back();
        reindex->entered.pop_back();
        kept = entered.kept;
        swept = MediaSweepLeave(entered.saved, path.c_str(), left.end == PlaceEnd::read) == 0;
    }
    if (!kept && (unread || !swept))
        RowsKeep(reindex, path, unread ? strerror(left.error) : "the catalogue failed");
    if (left.levels == 0 && left.end == PlaceEnd::left_out)
        MediaInfoDBDelete(kMediaTree, path.c_str());
}

void DirectoryLeave(Reindex *reindex, Turns *turns, const TreeCursor &cursor) {
    const Left left = {cursor.end, cursor.error, cursor.levels.size()};
    TurnTake(turns, cursor.path,
             [=](const std::string &directory) { DirectorySweep(reindex, directory, left); });
}

void TreeSweep(Reindex *reindex, const char *target) {
    // Rows of the tree's own path are those of a file that was in its place.
    for (int kind = kMediaMusic; kind <= kMediaPlaylist; ++kind)
        MediaInfoDBDelete(kind, target);
    const SweepScope scope;
    const ProgressTree tree_progress(target);
    Turns turns;
    TreeCursor cursor =
        TreeBegin(target, {.rules = &ActiveWalkRules().index, .cut = true, .left_out = LeftOutCounted()});
    for (TreeEvent event = TreeNext(&cursor); event != TreeEvent::done && !TurnsGivenUp(&turns);
         event = TreeNext(&cursor)) {
        if (event == TreeEvent::entered)
            DirectoryEnter(reindex, &turns, &cursor);
        else if (event == TreeEvent::entry)
            EntryReindex(reindex, &turns, cursor);
        else if (event == TreeEvent::left)
            DirectoryLeave(reindex, &turns, cursor);
    }
    TurnsFinish(&turns);
    reindex->well = reindex->well && !turns.given_up;
}

// False when all of it is on storage that is away.
bool PresentReindex(Reindex *reindex, const char *tree) {
    for (const std::string &place : reindex->away)
        AwayTell(place);
    if (reindex->away == std::vector<std::string>{tree})
        return false;
    TreeSweep(reindex, tree);
    return true;
}

} // namespace

int MediaKnows(const std::string &path, bool itself) {
    return VELUIndexKnows(Catalogue::media, path.c_str(), itself);
}

void AwayTell(const std::string &place, int line) {
    syslog(LOG_ERR, "%s (%d) The storage of %s is away: its rows are kept.", kLogName, line, place.c_str());
}

void TreeReindex(const char *target) {
    Reindex reindex = {.away = ShareAwayIn(target, MediaKnows)};
    if (PresentReindex(&reindex, target) && reindex.well &&
        !StorageRemember(target, reindex.away, reindex.links))
        syslog(LOG_ERR, "%s (%d) Failed to write %s. (%s)", kLogName, __LINE__, storage_files.remembered,
               strerror(errno));
}

void SubTreeReindex(const char *path) {
    const std::string tree(PathOfDirectory(path));
    Reindex reindex = {.away = StorageAwayIn(tree, MediaKnows)};
    PresentReindex(&reindex, tree.c_str());
}
