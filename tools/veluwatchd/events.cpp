// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/events.h"

#include <errno.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <algorithm>

#include "tools/veluwatchd/bounds.h"

namespace {

struct Event {
    EventReader *reader;
    Watcher *watcher;
    uint32_t mask;
    uint32_t cookie;
    std::string name;
    WatchTime now;

    [[nodiscard]] bool directory() const { return (mask & IN_ISDIR) != 0; }
};

// Companions of files on other systems; the daemon never indexes them.
bool IsResourceFork(std::string_view name) {
    return name.starts_with("._");
}

void EntryGone(Watcher *watcher, NodeId parent, const std::string &path, const std::string &name,
               bool directory, WatchTime now) {
    const NodeId node = watcher->tree.Exists(parent) ? watcher->tree.ChildFind(parent, name) : kNoNode;
    if (node != kNoNode)
        TreeForget(watcher, node);
    if (node != kNoNode || directory)
        TreeGone(&watcher->changes, path, now);
    else if (!IsResourceFork(name))
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

// What has come may be another thing by now; then an event tells of that.
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
    if (IsResourceFork(event.name))
        return;
    // Links, and further names of a file, are not open.
    if (closed || link || status.st_nlink > 1)
        FileTouched(&watcher->changes, path, event.now);
    else
        FileCreated(&watcher->changes, path, event.now);
}

void LeavingEnd(Watcher *watcher, const EventReader::Leaving &leaving, WatchTime now) {
    EntryGone(watcher, leaving.parent, leaving.path, leaving.name, leaving.directory, now);
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
void OthersEnd(const Event &event, const std::string &path) {
    if (event.directory()) {
        LeavingExpire(event.reader, event.watcher, event.now, true);
        return;
    }
    auto &leaving = event.reader->leaving;
    for (auto one = leaving.begin(); one != leaving.end();) {
        if (one->path != path) {
            ++one;
            continue;
        }
        LeavingEnd(event.watcher, *one, event.now);
        one = leaving.erase(one);
    }
}

void EntryMoved(const Event &event, const EventReader::Leaving &from, NodeId parent,
                const std::string &path) {
    Watcher *watcher = event.watcher;
    WatchTree &tree = watcher->tree;
    if (const NodeId replaced = tree.ChildFind(parent, event.name); replaced != kNoNode)
        EntryGone(watcher, parent, path, event.name, true, event.now);
    const NodeId node = tree.Exists(from.parent) ? tree.ChildFind(from.parent, from.name) : kNoNode;
    const bool plain = !IsResourceFork(event.name) && !IsResourceFork(from.name);
    if (node != kNoNode) {
        tree.Move(node, parent, event.name);
        TreeMoved(&watcher->changes, {path, from.path, true}, event.now);
        // The watch was found by a name, which may have been another directory's by then.
        NodeVerify(watcher, node);
    } else if (event.directory() || !plain) {
        EntryGone(watcher, from.parent, from.path, from.name, event.directory(), event.now);
        EntryCame(watcher, parent, path, event, true);
    } else {
        FileMoved(&watcher->changes, {path, from.path, false}, event.now);
    }
    // Two entries that were exchanged tell of both moves; the first seems to leave nothing behind.
    struct stat status;
    if (tree.Exists(from.parent) && lstat(from.path.c_str(), &status) == 0) {
        const uint32_t kind = S_ISDIR(status.st_mode) ? IN_ISDIR : 0;
        EntryCame(watcher, from.parent, from.path, {event.reader, watcher, kind, 0, from.name, event.now},
                  true);
    }
}

void MovedTo(const Event &event, const std::vector<NodeId> &parents) {
    const std::optional<EventReader::Leaving> from = LeavingTake(event.reader, event.cookie);
    const std::string path = event.watcher->tree.Path(parents.front()) + '/' + event.name;
    OthersEnd(event, path);
    if (from && parents.size() == 1 && !IsLeftOut(event.watcher->tree.Path(parents.front()), event.name)) {
        EntryMoved(event, *from, parents.front(), path);
        return;
    }
    if (from)
        LeavingEnd(event.watcher, *from, event.now);
    for (const NodeId parent : parents) {
        const std::string directory = event.watcher->tree.Path(parent);
        const std::string there = directory + '/' + event.name;
        if (IsLeftOut(directory, event.name))
            continue;
        if (event.watcher->tree.ChildFind(parent, event.name) != kNoNode)
            EntryGone(event.watcher, parent, there, event.name, true, event.now);
        EntryCame(event.watcher, parent, there, event, true);
    }
}

void EntryEvent(const Event &event, NodeId parent, bool alone) {
    Watcher *watcher = event.watcher;
    const std::string directory = watcher->tree.Path(parent);
    if (IsLeftOut(directory, event.name))
        return;
    const std::string path = directory + '/' + event.name;
    OthersEnd(event, path);
    if ((event.mask & IN_MOVED_FROM) != 0 && alone) {
        event.reader->leaving.push_back(
            {event.cookie, parent, path, event.name, event.directory(), event.now});
    } else if ((event.mask & (IN_DELETE | IN_MOVED_FROM)) != 0) {
        EntryGone(watcher, parent, path, event.name, event.directory(), event.now);
    } else if ((event.mask & IN_CREATE) != 0) {
        EntryCame(watcher, parent, path, event, false);
    } else if (event.directory()) { // its rights have changed
        const NodeId node = watcher->tree.ChildFind(parent, event.name);
        if (node != kNoNode && watcher->unwatched.count(node) != 0)
            NodeVerify(watcher, node);
    } else if (!IsResourceFork(event.name)) {
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

void EventHandle(const Event &event, int watch) {
    const std::vector<NodeId> nodes = event.watcher->tree.WatchedAs(watch);
    if (nodes.empty())
        return; // of a directory that was taken out before the event was read
    if ((event.mask & (IN_IGNORED | IN_UNMOUNT)) != 0) {
        WatchLost(event.watcher, nodes, (event.mask & IN_UNMOUNT) != 0);
        return;
    }
    if (event.name.empty())
        return; // of the directory itself, which the one above tells of as well
    if ((event.mask & IN_MOVED_TO) != 0) {
        MovedTo(event, nodes);
        return;
    }
    for (const NodeId node : nodes)
        EntryEvent(event, node, nodes.size() == 1);
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
            const Event event = {reader, watcher, head.mask, head.cookie, {name, strnlen(name, head.len)},
                                 now};
            EventHandle(event, head.wd);
            at += static_cast<ssize_t>(sizeof head + head.len);
        }
    }
    UnmountedSettle(watcher);
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
