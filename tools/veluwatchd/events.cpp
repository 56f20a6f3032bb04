// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/events.h"

#include <errno.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <algorithm>

#include "daemon/walk_rules.h"
#include "platform/velusdk.h"
#include "tools/veluwatchd/bounds.h"

namespace {

struct Event {
    EventReader *reader;
    Watcher *watcher;
    int watch;
    uint32_t mask;
    uint32_t cookie;
    std::string name;
    WatchTime now;

    [[nodiscard]] bool directory() const { return (mask & IN_ISDIR) != 0; }

    // True when the rules leave its entry out of a directory. A link's event does not tell where it leads.
    [[nodiscard]] bool IsLeftOut(NodeId node, const std::string &path) const {
        const auto left_out = [&](bool is_directory) {
            return ::IsLeftOut(watcher->rules, watcher->tree, node, path, name, is_directory);
        };
        if (directory() || watcher->tree.ChildFind(node, name) != kNoNode)
            return left_out(true);
        const bool file = left_out(false);
        return file == left_out(true) ? file : left_out(IsDirExist((path + '/' + name).c_str()));
    }

    // True as long as the number still means the directory that the event came from. Handling the event may
    // take the directory out of the tree, and the number may be given to another.
    [[nodiscard]] bool IsFrom(NodeId node) const {
        return watcher->tree.Exists(node) && watcher->tree.Watch(node) == watch;
    }
};

void EntryGone(Watcher *watcher, NodeId parent, const std::string &path, const std::string &name,
               bool directory, WatchTime now) {
    const NodeId node = watcher->tree.Exists(parent) ? watcher->tree.ChildFind(parent, name) : kNoNode;
    if (node != kNoNode)
        TreeForget(watcher, node);
    if (node != kNoNode || directory)
        TreeGone(&watcher->changes, path, now);
    else if (IsIndexedName(name))
        FileGone(&watcher->changes, path, now);
}

void DirectoryCame(Watcher *watcher, NodeId parent, const std::string &path, const std::string &name,
                   bool by_link, WatchTime now) {
    TreeCame(&watcher->changes, path, now);
    const NodeId known = watcher->tree.ChildFind(parent, name);
    if (known != kNoNode)
        NodeVerify(watcher, known);
    else
        TreeWatch(watcher, watcher->tree.ChildAdd(parent, name, by_link));
}

// What has come may have been replaced by now; a later event tells of that.
void EntryCame(Watcher *watcher, NodeId parent, const std::string &path, const Event &event, bool closed) {
    struct stat status = {};
    const bool link = !event.directory() && lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
    const bool to_directory = link && stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    if (event.directory() || to_directory) {
        DirectoryCame(watcher, parent, path, event.name, link, event.now);
        return;
    }
    if (const NodeId known = watcher->tree.ChildFind(parent, event.name); known != kNoNode) {
        TreeForget(watcher, known); // a link to a directory was replaced
        TreeGone(&watcher->changes, path, event.now);
    }
    if (!IsIndexedName(event.name))
        return;
    // Symbolic links and further names of a file come without being opened, so that no closing event follows.
    if (closed || link || status.st_nlink > 1)
        FileTouched(&watcher->changes, path, event.now);
    else
        FileCreated(&watcher->changes, path, event.now);
}

// Returns the directory that an entry has left; none when that has gone as well.
NodeId LeavingParent(const WatchTree &tree, const EventReader::Leaving &leaving) {
    const bool same =
        tree.Exists(leaving.parent) && tree.Path(leaving.parent) + '/' + leaving.name == leaving.path;
    return same ? leaving.parent : kNoNode;
}

void LeavingEnd(Watcher *watcher, const EventReader::Leaving &leaving, WatchTime now) {
    EntryGone(watcher, LeavingParent(watcher->tree, leaving), leaving.path, leaving.name, leaving.directory,
              now);
}

void LeavingAdd(const Event &event, NodeId parent, const std::string &path) {
    auto &leaving = event.reader->leaving;
    if (leaving.size() == kLeavingMax) {
        LeavingEnd(event.watcher, leaving.front(), event.now);
        leaving.erase(leaving.begin());
    }
    leaving.push_back({event.cookie, parent, path, event.name, event.directory(), event.now});
}

std::optional<EventReader::Leaving> LeavingTake(EventReader *reader, uint32_t cookie) {
    const auto found = std::find_if(reader->leaving.begin(), reader->leaving.end(),
                                    [&](const EventReader::Leaving &one) { return one.cookie == cookie; });
    if (found == reader->leaving.end())
        return {};
    EventReader::Leaving taken = std::move(*found);
    reader->leaving.erase(found);
    return taken;
}

// Another entry of the name tells that the one that was moved away has gone for good. A change of a directory ends the
// wait for all: the places that they have left might not be the same afterwards.
void OthersEnd(const Event &event) {
    auto &leaving = event.reader->leaving;
    if (leaving.empty())
        return;
    if (event.directory()) {
        LeavingExpire(event.reader, event.watcher, event.now, true);
        return;
    }
    for (const NodeId parent : event.watcher->tree.WatchedAs(event.watch)) {
        const std::string path =
            event.IsFrom(parent) ? event.watcher->tree.Path(parent) + '/' + event.name : std::string();
        for (auto one = leaving.begin(); one != leaving.end();) {
            if (one->path != path) {
                ++one;
                continue;
            }
            LeavingEnd(event.watcher, *one, event.now);
            one = leaving.erase(one);
        }
    }
}

void EntryMoved(const Event &event, const EventReader::Leaving &from, NodeId parent,
                const std::string &path) {
    Watcher *watcher = event.watcher;
    WatchTree &tree = watcher->tree;
    if (const NodeId replaced = tree.ChildFind(parent, event.name); replaced != kNoNode)
        EntryGone(watcher, parent, path, event.name, true, event.now);
    const NodeId left = LeavingParent(tree, from);
    const NodeId node = left != kNoNode ? tree.ChildFind(left, from.name) : kNoNode;
    const bool plain = IsIndexedName(event.name) && IsIndexedName(from.name);
    // A directory cannot go into itself; what was read of it has come there later.
    if (node != kNoNode && !tree.IsWithin(parent, node)) {
        tree.Move(node, parent, event.name);
        TreeMoved(&watcher->changes, {path, from.path, true}, event.now);
        // The watch was found by a name, which may have been another directory's by then.
        NodeVerify(watcher, node);
        if (tree.Exists(node) &&
            (HasPatterns(watcher->rules, tree, left) || HasPatterns(watcher->rules, tree, parent)))
            watcher->rules_changed.insert(node);
    } else if (node != kNoNode || event.directory() || !plain) {
        EntryGone(watcher, left, from.path, from.name, event.directory(), event.now);
        if (event.IsFrom(parent))
            EntryCame(watcher, parent, path, event, true);
    } else {
        FileMoved(&watcher->changes, {path, from.path, false}, event.now);
    }
    // Two entries that were exchanged tell of both moves; the first seems to leave nothing behind.
    struct stat status;
    if (LeavingParent(tree, from) != kNoNode && lstat(from.path.c_str(), &status) == 0) {
        const uint32_t kind = S_ISDIR(status.st_mode) ? IN_ISDIR : 0;
        EntryCame(watcher, from.parent, from.path,
                  {event.reader, watcher, event.watch, kind, 0, from.name, event.now}, true);
    }
}

void MovedTo(const Event &event, const std::optional<EventReader::Leaving> &from,
             const std::vector<NodeId> &parents) {
    if (from && parents.size() == 1) {
        const std::string directory = event.watcher->tree.Path(parents.front());
        if (!event.IsLeftOut(parents.front(), directory)) {
            EntryMoved(event, *from, parents.front(), directory + '/' + event.name);
            return;
        }
    }
    if (from)
        LeavingEnd(event.watcher, *from, event.now);
    for (const NodeId parent : parents) {
        if (!event.IsFrom(parent))
            continue;
        const std::string directory = event.watcher->tree.Path(parent);
        const std::string there = directory + '/' + event.name;
        if (event.IsLeftOut(parent, directory))
            continue;
        if (event.watcher->tree.ChildFind(parent, event.name) != kNoNode)
            EntryGone(event.watcher, parent, there, event.name, true, event.now);
        EntryCame(event.watcher, parent, there, event, true);
    }
}

void EntryEvent(const Event &event, NodeId parent, bool alone) {
    Watcher *watcher = event.watcher;
    const std::string directory = watcher->tree.Path(parent);
    if (event.IsLeftOut(parent, directory))
        return;
    const std::string path = directory + '/' + event.name;
    if ((event.mask & IN_MOVED_FROM) != 0 && alone) {
        LeavingAdd(event, parent, path);
    } else if ((event.mask & (IN_DELETE | IN_MOVED_FROM)) != 0) {
        EntryGone(watcher, parent, path, event.name, event.directory(), event.now);
    } else if ((event.mask & IN_CREATE) != 0) {
        EntryCame(watcher, parent, path, event, false);
    } else if (event.directory()) { // its rights have changed
        const NodeId node = watcher->tree.ChildFind(parent, event.name);
        if (node != kNoNode && watcher->unwatched.count(node) != 0)
            NodeVerify(watcher, node);
    } else if (IsIndexedName(event.name)) {
        FileTouched(&watcher->changes, path, event.now);
    }
}

// The kernel has taken a watch away: the directory is gone, or its file system is.
void WatchLost(Watcher *watcher, const std::vector<NodeId> &nodes, bool unmounted) {
    for (const NodeId node : nodes) {
        watcher->tree.WatchSet(node, kNoWatch);
        (unmounted ? watcher->unmounting : watcher->doubtful).push_back(node);
    }
}

void EventHandle(const Event &event) {
    const WatchTree &tree = event.watcher->tree;
    if ((event.mask & (IN_IGNORED | IN_UNMOUNT)) != 0) {
        WatchLost(event.watcher, tree.WatchedAs(event.watch), (event.mask & IN_UNMOUNT) != 0);
        return;
    }
    if (event.name.empty())
        return; // of the directory itself, which the one above tells of as well
    const bool came = (event.mask & IN_MOVED_TO) != 0;
    const auto from = came ? LeavingTake(event.reader, event.cookie) : std::nullopt;
    OthersEnd(event);
    // Its directory may have been taken out of the tree before this event was read, even just now.
    const std::vector<NodeId> nodes = tree.WatchedAs(event.watch);
    if (IsRuleName(event.name)) {
        for (const NodeId node : nodes) {
            if (event.IsFrom(node))
                event.watcher->rules_changed.insert(node);
        }
        if (from)
            LeavingEnd(event.watcher, *from, event.now);
        return;
    }
    if (came) {
        MovedTo(event, from, nodes);
        return;
    }
    for (const NodeId node : nodes) {
        if (event.IsFrom(node))
            EntryEvent(event, node, nodes.size() == 1);
    }
}

} // namespace

EventResult EventsRead(EventReader *reader, Watcher *watcher) {
    alignas(inotify_event) static char buffer[kEventBufferSize];
    while (true) {
        const ssize_t got = read(watcher->inotify.get(), buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && errno != EAGAIN)
            return EventResult::failed;
        if (got <= 0)
            break;
        const WatchTime now = std::chrono::steady_clock::now();
        for (ssize_t at = 0; at < got;) {
            inotify_event head;
            memcpy(&head, buffer + at, sizeof head);
            if ((head.mask & IN_Q_OVERFLOW) != 0)
                return EventResult::overflow;
            const char *name = buffer + at + sizeof head;
            EventHandle(
                {reader, watcher, head.wd, head.mask, head.cookie, {name, strnlen(name, head.len)}, now});
            at += static_cast<ssize_t>(sizeof head + head.len);
        }
    }
    UnmountedSettle(watcher);
    RulesSettle(watcher);
    DoubtfulVerify(watcher);
    return EventResult::drained;
}

void LeavingExpire(EventReader *reader, Watcher *watcher, WatchTime now, bool all) {
    auto &leaving = reader->leaving;
    while (!leaving.empty() && (all || now - leaving.front().since >= kMovePatience)) {
        LeavingEnd(watcher, leaving.front(), now);
        leaving.erase(leaving.begin());
    }
}

std::optional<WatchTime> LeavingDue(const EventReader &reader) {
    if (reader.leaving.empty())
        return {};
    return reader.leaving.front().since + kMovePatience;
}
