// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/changes.h"

#include <algorithm>
#include <utility>

#include "daemon/path_rules.h"
#include "platform/path.h"
#include "platform/veluindex.h"
#include "tools/queue/request_line.h"

namespace {

constexpr uint8_t kFileFlags = kFileTouched | kFileOpen | kFileNew;

// The part of a map that lies below a directory, from `first` on.
template <typename Map>
auto EndBelow(const Map &map, typename Map::const_iterator first, const std::string &directory) {
    while (first != map.end() && IsBelow(first->first, directory))
        ++first;
    return first;
}

template <typename Map>
auto FirstBelow(const Map &map, const std::string &directory) {
    return map.lower_bound(directory + '/');
}

uint8_t FlagsAt(const Changes &changes, std::string_view path) {
    const auto found = changes.paths.find(path);
    return found == changes.paths.end() ? 0 : found->second.flags;
}

uint8_t AskedAt(const Asked &asked, std::string_view path) {
    const auto found = asked.paths.find(path);
    return found == asked.paths.end() ? 0 : found->second;
}

// True when a tree that has come will be indexed with all that is in it by then. What comes there need not be kept: a
// large copy would fill the memory for nothing. What goes from there is kept: a request for the tree above may have
// indexed it already.
bool IsInNewTree(const Changes &changes, std::string_view path) {
    return AnyAbove(path, [&](std::string_view above) { return (FlagsAt(changes, above) & kTreeCame) != 0; });
}

bool IsInAskedTree(const Asked &asked, std::string_view path) {
    return AnyAbove(path, [&](std::string_view above) { return (AskedAt(asked, above) & kTreeCame) != 0; });
}

// Returns the path with `from` at its front replaced.
std::string Exchanged(const std::string &path, const std::string &from, const std::string &to) {
    return to + path.substr(from.size());
}

void Keep(Changes *changes, const std::string &path, uint8_t removed, uint8_t added, WatchTime now) {
    Change &change = changes->paths[path];
    change.flags = static_cast<uint8_t>((change.flags & ~removed) | added);
    change.touched = now;
}

void ForgetBelow(Changes *changes, const std::string &path) {
    const auto first = FirstBelow(changes->paths, path);
    changes->paths.erase(first, EndBelow(changes->paths, first, path));
}

// A rename that the daemon is told of as such. Any other is no more than a removal and an addition, which are exact whatever
// happens meanwhile: the photo library forgets and takes up what leaves and enters its share.
bool IsToldRename(const Changes &changes, const Rename &move) {
    const bool from_photo = IsPhotoPath(move.old_path.c_str()) != 0;
    const bool to_photo = IsPhotoPath(move.new_path.c_str()) != 0;
    return from_photo == to_photo && (changes.rows_move || (from_photo && changes.photo_library)) &&
           RenameLineForm(move.new_path, move.old_path).refusal.empty();
}

// What becomes a picture or a video by its new name has to be added, for its thumbnails, and what has been one leaves
// the library.
bool IsSameKind(const Rename &move) {
    const char *to = VELUIndexExtGet(move.new_path.c_str());
    const char *from = VELUIndexExtGet(move.old_path.c_str());
    return IsPictureExtension(to) == IsPictureExtension(from) &&
           BlVELUIndexIsVideoOnWeb(to) == BlVELUIndexIsVideoOnWeb(from) &&
           BlVELUIndexIsVideo(to) == BlVELUIndexIsVideo(from);
}

// Moves changes and requests that are not done yet from paths below a renamed directory to their new paths.
void PathsFollow(Changes *changes, const Rename &move, WatchTime now) {
    ChangeMap moved;
    const auto first = FirstBelow(changes->paths, move.old_path);
    const auto end = EndBelow(changes->paths, first, move.old_path);
    for (auto change = first; change != end; ++change)
        moved[Exchanged(change->first, move.old_path, move.new_path)] = change->second;
    changes->paths.erase(first, end);
    const auto &asked = changes->asked.paths;
    const auto first_asked = FirstBelow(asked, move.old_path);
    const auto end_asked = EndBelow(asked, first_asked, move.old_path);
    for (auto request = first_asked; request != end_asked; ++request) {
        Change &change = moved[Exchanged(request->first, move.old_path, move.new_path)];
        change.flags |= request->second;
        change.touched = now;
    }
    for (const auto &[path, change] : moved)
        Keep(changes, path, 0, change.flags, change.touched);
}

// Renames into a directory that is renamed itself lead to its new name at once: the daemon will not find the names in
// between. Gives whether one of them has led to the very directory, which then has no other way.
bool RenamesFollow(std::vector<Rename> *renames, const Rename &move) {
    bool led = false;
    for (auto rename = renames->begin(); rename != renames->end(); ++rename) {
        if (!PathIsAtOrUnder(rename->new_path, move.old_path))
            continue;
        led = led || (rename->directory && rename->new_path == move.old_path);
        const std::string between =
            std::exchange(rename->new_path, Exchanged(rename->new_path, move.old_path, move.new_path));
        for (auto later = rename + 1; later != renames->end(); ++later) {
            if (PathIsAtOrUnder(later->old_path, between))
                later->old_path = Exchanged(later->old_path, between, rename->new_path);
        }
    }
    return led;
}

bool LeadsInto(const std::vector<Rename> &renames, const std::string &directory) {
    return std::any_of(renames.begin(), renames.end(), [&](const Rename &rename) {
        return rename.directory && PathIsAtOrUnder(rename.new_path, directory);
    });
}

} // namespace

void FileCreated(Changes *changes, const std::string &path, WatchTime now) {
    if (IsInNewTree(*changes, path))
        return;
    const uint8_t before = FlagsAt(*changes, path);
    // A second creation of a file that is in the work of others leaves it as it is.
    const bool opened = (before & kFileTouched) == 0;
    Keep(changes, path, 0,
         static_cast<uint8_t>(kFileTouched | (opened ? kFileOpen : 0) | (before == 0 ? kFileNew : 0)), now);
}

void FileTouched(Changes *changes, const std::string &path, WatchTime now) {
    if (!IsInNewTree(*changes, path))
        Keep(changes, path, kFileOpen, kFileTouched, now);
}

void FileGone(Changes *changes, const std::string &path, WatchTime now) {
    Keep(changes, path, kFileFlags, kFileGone, now);
}

void FileMoved(Changes *changes, const Rename &move, WatchTime now) {
    const Asked &asked = changes->asked;
    const uint8_t old_flags = FlagsAt(*changes, move.old_path);
    const uint8_t asked_flags = AskedAt(asked, move.old_path);
    const bool unknown = (old_flags & kFileNew) != 0 || IsInNewTree(*changes, move.old_path) ||
                         IsInAskedTree(asked, move.old_path);
    const bool in_the_way =
        ((FlagsAt(*changes, move.new_path) | AskedAt(asked, move.new_path)) & kTreeGone) != 0;
    // The photo library has no hidden pictures: one that becomes hidden leaves it, and the other way round.
    const bool other =
        !IsLibraryPath(move.old_path.c_str()) || !IsLibraryPath(move.new_path.c_str()) || !IsSameKind(move);
    if (unknown || other || in_the_way || asked.lost || !IsToldRename(*changes, move)) {
        RenameSplit(changes, move, now);
        return;
    }
    changes->paths.erase(move.old_path);
    changes->paths.erase(move.new_path); // its row is replaced by the rename
    changes->renames.push_back(move);
    if (((old_flags | asked_flags) & kFileTouched) != 0)
        FileTouched(changes, move.new_path, now);
}

void TreeCame(Changes *changes, const std::string &path, WatchTime now) {
    if (IsInNewTree(*changes, path))
        return;
    // The daemon refuses a removal that it has not done yet once the directory is there again.
    const uint8_t kept = changes->asked.lost ? kTreeGone : AskedAt(changes->asked, path) & kGone;
    Keep(changes, path, 0, kTreeCame | kept, now);
}

void TreeGone(Changes *changes, const std::string &path, WatchTime now) {
    ForgetBelow(changes, path);
    Keep(changes, path, kFileFlags | kTreeCame, kTreeGone, now);
    // The daemon takes a rename whose new name is no directory any more for that of a file, and keeps the
    // rows below the old name.
    std::vector<std::string> left;
    for (const Rename &rename : changes->asked.renames) {
        if (PathIsAtOrUnder(rename.new_path, path))
            left.push_back(rename.old_path);
    }
    for (const std::string &old_path : left)
        Keep(changes, old_path, 0, kTreeGone, now);
}

void TreeMoved(Changes *changes, const Rename &move, WatchTime now) {
    const Asked &asked = changes->asked;
    const uint8_t old_flags = FlagsAt(*changes, move.old_path) | AskedAt(asked, move.old_path);
    const uint8_t new_flags = FlagsAt(*changes, move.new_path) | AskedAt(asked, move.new_path);
    const bool unknown = (old_flags & kTreeCame) != 0 || IsInNewTree(*changes, move.old_path) ||
                         IsInAskedTree(asked, move.old_path) || LeadsInto(asked.renames, move.old_path);
    if (unknown || (new_flags & kGone) != 0 || asked.lost || !IsToldRename(*changes, move)) {
        RenameSplit(changes, move, now);
        return;
    }
    PathsFollow(changes, move, now);
    changes->paths.erase(move.old_path);
    if (!RenamesFollow(&changes->renames, move))
        changes->renames.push_back(move);
}

void RenameSplit(Changes *changes, const Rename &move, WatchTime now) {
    if (move.directory) {
        TreeGone(changes, move.old_path, now);
        TreeCame(changes, move.new_path, now);
    } else {
        FileGone(changes, move.old_path, now);
        FileTouched(changes, move.new_path, now);
    }
}

void TreeMissed(Changes *changes, const std::string &path) {
    if ((FlagsAt(*changes, path) & kTreeCame) != 0 || IsInNewTree(*changes, path))
        return; // nothing of it is indexed yet
    ForgetBelow(changes, path);
    changes->paths.erase(path);
    changes->reindex.insert(path);
}

void TreeAway(Changes *changes, const std::string &path, WatchTime now) {
    ForgetBelow(changes, path);
    changes->paths.erase(path);
    std::erase_if(changes->reindex, [&](const std::string &tree) { return PathIsAtOrUnder(tree, path); });
    for (const Rename &rename : std::exchange(changes->renames, {})) {
        if (!PathIsAtOrUnder(rename.new_path, path))
            changes->renames.push_back(rename);
        else if (PathIsAtOrUnder(rename.old_path, path))
            continue;
        else if (rename.directory)
            TreeGone(changes, rename.old_path, now);
        else
            FileGone(changes, rename.old_path, now);
    }
}
