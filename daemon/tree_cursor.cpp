// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/tree_cursor.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "daemon/path_rules.h"
#include "daemon/walk_above.h"

namespace {

// Returns what an error of opening a directory means: it is gone, or, for any other error, `otherwise`.
PlaceEnd EndOf(int error, PlaceEnd otherwise) {
    return error == ENOENT || error == ENOTDIR ? PlaceEnd::gone : otherwise;
}

// Makes the event of a directory that is left. The directory above it is not whole when this one is not.
TreeEvent Left(TreeCursor *cursor, PlaceEnd end, int error, bool whole) {
    cursor->end = end;
    cursor->error = error;
    cursor->why = LeftOut::nothing;
    cursor->whole = whole && !IsUnread(end);
    if (!cursor->levels.empty()) {
        TreeCursor::Level &above = cursor->levels.back();
        above.whole = above.whole && cursor->whole;
    }
    return TreeEvent::left;
}

TreeEvent LeftOutByRules(TreeCursor *cursor, LeftOut why) {
    LeftOutCount(cursor->settings.left_out, why);
    const TreeEvent event = Left(cursor, PlaceEnd::left_out, 0, true);
    cursor->why = why;
    return event;
}

// Leaves the innermost directory.
TreeEvent DirectoryLeave(TreeCursor *cursor, PlaceEnd end, int error) {
    const bool whole = cursor->levels.back().whole;
    IgnoreLeave(&cursor->ignore, cursor->levels.back().path_length);
    cursor->levels.pop_back();
    WalkTrailLeave(&cursor->trail);
    return Left(cursor, end, error, whole);
}

bool EntryIsIgnored(const TreeCursor &cursor, bool is_directory) {
    return IsIgnored(cursor.ignore, cursor.path, is_directory);
}

// Why the directory that the path names is left out, but for what it holds itself. That the walk begins there was asked for.
LeftOut DirectoryLeftOut(TreeCursor *cursor) {
    if (cursor->levels.empty())
        return PathLeftOut(*cursor->settings.rules, cursor->path, true, &cursor->ignore);
    return EntryIsIgnored(*cursor, true) ? LeftOut::ignored : LeftOut::nothing;
}

// Makes the directory that the path names the innermost one.
TreeEvent DirectoryEnter(TreeCursor *cursor, bool by_link) {
    if (cursor->path.size() >= kWalkPathSize)
        return Left(cursor, PlaceEnd::too_long, ENAMETOOLONG, true);
    if (IsRecyclePath(cursor->path.c_str()) != 0)
        return Left(cursor, PlaceEnd::left_out, 0, true);
    if (const LeftOut why = DirectoryLeftOut(cursor); why != LeftOut::nothing)
        return LeftOutByRules(cursor, why);
    DirectoryReader reader = {.rules = cursor->settings.rules,
                              .untold = cursor->settings.untold,
                              .left_out = cursor->settings.left_out};
    if (!DirectoryOpen(&reader, cursor->path.c_str()))
        return Left(cursor, EndOf(reader.error, PlaceEnd::unopened), reader.error, true);
    if (DirectoryIsMarked(reader))
        return LeftOutByRules(cursor, LeftOut::marked);
    switch (WalkTrailEnter(&cursor->trail, dirfd(reader.directory.get()), by_link)) {
    case TrailStep::entered:
        break;
    case TrailStep::left_out:
        return Left(cursor, PlaceEnd::left_out, 0, true);
    case TrailStep::failed:
        return Left(cursor, PlaceEnd::unopened, errno, true);
    }
    cursor->levels.push_back({.reader = std::move(reader), .path_length = cursor->path.size()});
    IgnoreEnter(&cursor->ignore, cursor->settings.rules->ignore, cursor->path);
    return TreeEvent::entered;
}

// Opens the innermost directory again where its reading stopped. False, with the reader's error, when it is no longer there:
// a position means nothing in another directory.
bool DirectoryReopen(TreeCursor *cursor) {
    DirectoryReader *reader = &cursor->levels.back().reader;
    const WalkTrail::Step &step = cursor->trail.steps.back();
    const off_t position = reader->position;
    if (!DirectoryOpen(reader, cursor->path.c_str()))
        return false;
    struct stat status;
    const int directory = dirfd(reader->directory.get());
    if (fstat(directory, &status) != 0 || lseek(directory, position, SEEK_SET) < 0)
        reader->error = errno;
    else if (status.st_dev != step.device || status.st_ino != step.inode)
        reader->error = ENOENT;
    return reader->error == 0;
}

TreeEvent BreakOff(TreeCursor *cursor) {
    const int error = cursor->levels.back().reader.error;
    return DirectoryLeave(cursor, EndOf(error, PlaceEnd::broken_off), error);
}

// Appends an entry's name to the path. False when the path was cut, and may name something else.
bool PathAppend(TreeCursor *cursor, const char *name) {
    cursor->path.append(1, '/').append(name);
    if (cursor->path.size() < kWalkPathSize)
        return true;
    cursor->levels.back().whole = false;
    if (!cursor->settings.cut)
        return true;
    cursor->path.resize(kWalkPathSize - 1);
    return false;
}

// Goes on to the next entry of the innermost directory, into it when it is a directory itself.
TreeEvent EntryAdvance(TreeCursor *cursor) {
    TreeCursor::Level &level = cursor->levels.back();
    if (level.reader.directory == nullptr && !DirectoryReopen(cursor))
        return BreakOff(cursor);
    while (const dirent *entry = DirectoryNext(&level.reader)) {
        const bool exact = PathAppend(cursor, entry->d_name);
        cursor->kind = exact ? EntryKindGet(&level.reader, *entry) : PathKindGet(cursor->path.c_str());
        cursor->error = exact ? level.reader.missed : ENAMETOOLONG;
        level.whole = level.whole && cursor->error == 0;
        const bool directory =
            cursor->kind == EntryKind::directory || cursor->kind == EntryKind::linked_directory;
        if (!directory && !EntryIsIgnored(*cursor, false))
            return TreeEvent::entry;
        if (!directory && cursor->settings.tells_ignored)
            return LeftOutByRules(cursor, LeftOut::ignored);
        if (!directory) {
            LeftOutCount(cursor->settings.left_out, LeftOut::ignored);
        } else if (!IsDirectoryNameLeftOut(*cursor->settings.rules, entry->d_name)) {
            if (cursor->levels.size() >= kWalkOpenLevels)
                level.reader.directory.reset();
            return DirectoryEnter(cursor, cursor->kind == EntryKind::linked_directory);
        }
        cursor->path.resize(level.path_length);
    }
    return level.reader.error == 0 ? DirectoryLeave(cursor, PlaceEnd::read, 0) : BreakOff(cursor);
}

TreeEvent NamesList(TreeCursor *cursor) {
    TreeCursor::Level &level = cursor->levels.back();
    const bool read = NamesRead(&level.reader, cursor->settings.listed, &cursor->names);
    if (!cursor->ignore.files.empty())
        std::erase_if(cursor->names, [&](const std::string &name) {
            return IsIgnored(cursor->ignore, cursor->path + '/' + name, false);
        });
    level.reader.directory.reset();
    level.listed = true;
    level.whole = level.whole && std::ranges::all_of(cursor->names, [&](const std::string &name) {
                      return level.path_length + 1 + name.size() < kWalkPathSize;
                  });
    return read ? TreeEvent::listed : BreakOff(cursor);
}

// Reads the next portion of the innermost directory's sub-directories, if there may be one. Portions go on by name: whatever
// has the directory's place by now is read, as not every file system keeps the number of a directory that nobody holds.
bool PortionRead(TreeCursor *cursor) {
    TreeCursor::Level &level = cursor->levels.back();
    const std::string last = level.below.empty() ? std::string() : level.below.back().name;
    const bool read = DirectoryOpen(&level.reader, cursor->path.c_str()) &&
                      SubDirectoriesRead(&level.reader, last, level.portion, &level.below);
    level.reader.directory.reset();
    level.next = 0;
    level.more = level.below.size() == level.portion;
    level.portion *= 2;
    return read;
}

// Goes on to the next sub-directory of the innermost directory.
TreeEvent SubDirectoryAdvance(TreeCursor *cursor) {
    TreeCursor::Level &level = cursor->levels.back();
    if (!level.listed)
        return NamesList(cursor);
    if (level.next == level.below.size() && level.more && !PortionRead(cursor))
        return BreakOff(cursor);
    if (level.next == level.below.size())
        return DirectoryLeave(cursor, PlaceEnd::read, 0);
    const SubDirectory &below = level.below[level.next++];
    cursor->path.append(1, '/').append(below.name);
    if (below.error != 0) {
        cursor->kind = EntryKind::other;
        cursor->error = below.error;
        level.whole = false;
        return TreeEvent::entry;
    }
    return DirectoryEnter(cursor, below.by_link);
}

} // namespace

TreeCursor TreeBegin(const char *path, const TreeSettings &settings) {
    TreeCursor cursor = {.settings = settings, .path = path};
    // A slash at the end would stand doubled in every path below. A path that is too long becomes an event as
    // it is.
    while (cursor.path.size() < kWalkPathSize && cursor.path.size() > 1 && cursor.path.back() == '/')
        cursor.path.pop_back();
    cursor.path.reserve(kWalkPathSize);
    return cursor;
}

TreeEvent TreeNext(TreeCursor *cursor) {
    if (!std::exchange(cursor->begun, true))
        return DirectoryEnter(cursor, false);
    if (cursor->levels.empty())
        return TreeEvent::done;
    cursor->path.resize(cursor->levels.back().path_length);
    return cursor->settings.listed != nullptr ? SubDirectoryAdvance(cursor) : EntryAdvance(cursor);
}

void TreeLeave(TreeCursor *cursor) {
    DirectoryLeave(cursor, PlaceEnd::unopened, 0);
}

bool IsLinkToOtherDevice(const TreeCursor &cursor) {
    const std::vector<WalkTrail::Step> &steps = cursor.trail.steps;
    return steps.size() > 1 && steps.back().linked && steps.back().device != steps[steps.size() - 2].device;
}

bool IsUnread(PlaceEnd end) {
    return end != PlaceEnd::read && end != PlaceEnd::left_out;
}
