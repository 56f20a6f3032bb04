// SPDX-License-Identifier: GPL-2.0-or-later
//
// Walking the shares as the daemon does, in search of what it would index and has not.
#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "catalogue/shares.h"
#include "daemon/index.h"
#include "daemon/storage_away.h"
#include "daemon/tree_cursor.h"
#include "daemon/walk_rules.h"
#include "photo/photo_index.h"
#include "platform/file.h"
#include "platform/media_record.h"
#include "platform/path.h"
#include "tools/veluctl/check.h"

namespace {

struct Check {
    std::vector<CheckedRow> *rows;
    std::vector<Finding> *findings;
    std::string added; // the tree without a row that an earlier finding has indexed whole
};

// Whether the tree that is indexed whole by an earlier finding holds a path.
bool IsAdded(const Check &check, const std::string &path) {
    return !check.added.empty() && PathIsUnder(path, check.added);
}

void Find(Check *check, const char *problem, const std::string &path, std::string line) {
    check->findings->push_back({problem, path, std::move(line), {}});
}

// 0, or the error number of opening it or reading its first byte.
int ReadError(const std::string &path) {
    const FdHandle file = OpenForReading(path.c_str());
    char byte = 0;
    return !file || FileReadSomeAt(file, 0, &byte, 1) < 0 ? errno : 0;
}

void FileCheck(Check *check, const std::string &path, off_t size) {
    CheckedRow *row = CheckedRowFind(check->rows, path);
    if (row != nullptr)
        row->seen = true;
    if (path.size() >= kMediaPathSize || !IsIndexedPath(path.c_str()))
        return;
    if (ReadError(path) != 0)
        Find(check, kUnreadable, path, {});
    const bool catalogued =
        row != nullptr && row->media && (row->library || !IsLibraryPicture(path.c_str(), size));
    if (!catalogued)
        Find(check, kFileWithoutRow, path,
             IsAdded(*check, path) ? RepairLine(kCommandTreeAdd, check->added)
                                   : RepairLine(kCommandFileAdd, path));
}

void DirectoryCheck(Check *check, const std::string &path) {
    CheckedRow *row = CheckedRowFind(check->rows, path);
    if (row != nullptr)
        row->seen = true;
    if (row != nullptr && row->directory)
        return;
    if (!IsAdded(*check, path))
        check->added = path;
    Find(check, kFileWithoutRow, path, RepairLine(kCommandTreeAdd, check->added));
}

void EntryCheck(Check *check, const std::string &path) {
    struct stat status;
    if (stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode))
        FileCheck(check, path, status.st_size);
}

void ShareCheck(Check *check, const char *share) {
    const std::vector<std::string> away = ShareAwayIn(share, [check](const std::string &path, bool itself) {
        return CheckedRowsKnow(*check->rows, path, itself) ? 1 : 0;
    });
    for (const std::string &place : away)
        Find(check, kShareAway, place, {});
    if (away == std::vector<std::string>{share})
        return;
    TreeCursor cursor = TreeBegin(share, {.rules = &ActiveWalkRules().index});
    for (TreeEvent event = TreeNext(&cursor); event != TreeEvent::done; event = TreeNext(&cursor)) {
        if (event == TreeEvent::entered && std::ranges::find(away, cursor.path) != away.end())
            TreeLeave(&cursor);
        else if (event == TreeEvent::entered)
            DirectoryCheck(check, cursor.path);
        else if (event == TreeEvent::entry && cursor.kind == EntryKind::file)
            EntryCheck(check, cursor.path);
        else if (event == TreeEvent::left && IsUnread(cursor.end))
            Find(check, kUnreadable, cursor.path, {});
    }
}

} // namespace

void SharesCheck(std::vector<CheckedRow> *rows, std::vector<Finding> *findings) {
    for (const char *link : kShareLinks) {
        char target[kSharePathSize];
        if (!ShareTargetGet(link, target))
            continue; // a machine without that share
        Check check = {rows, findings, {}};
        ShareCheck(&check, target);
    }
}
