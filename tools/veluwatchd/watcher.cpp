// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/watcher.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>

#include <algorithm>
#include <utility>

#include "daemon/directory_reader.h"
#include "daemon/path_rules.h"
#include "daemon/storage_mounts.h"
#include "daemon/walk_rules.h"
#include "platform/limits.h"
#include "platform/velusdk.h"
#include "tools/shared/safe_text.h"

namespace {

// IN_MODIFY is not among them: a file that is written to is looked at when it is closed. IN_ATTRIB is: a file that
// may be read from now on, and times that were set, belong to its row.
constexpr uint32_t kEvents = IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE |
                             IN_ATTRIB | IN_ONLYDIR | IN_EXCL_UNLINK;

void Unwatched(Watcher *watcher, NodeId node, const std::string &path, int error) {
    if (!watcher->unwatched.insert(node).second)
        return;
    FaultNote(watcher, error == ENOSPC ? WatchFault::limit : WatchFault::unwatched);
    if (error != ENOSPC) {
        syslog(LOG_WARNING, "cannot watch %s and what is below it: %s. It is indexed anew from time to time.",
               SafeText(path).c_str(), strerror(error));
        return;
    }
    if (!std::exchange(watcher->limit_told, true))
        syslog(LOG_WARNING,
               "cannot watch %s and more: the limit of the kernel is reached (sysctl "
               "fs.inotify.max_user_watches), "
               "with %zu directories. What is not watched is indexed anew from time to time.",
               SafeText(path).c_str(), watcher->tree.size());
}

// The walk of the daemon follows links, but into no directory that it is in, and only so often by a link below another
// link into one that such a link has led to before.
bool EndsHere(Watcher *watcher, NodeId node, int watch) {
    const WatchTree &tree = watcher->tree;
    if (tree.IsWatchOfAncestor(node, watch))
        return true;
    const auto is_link_below_link = [&tree](NodeId at) {
        return tree.ByLink(at) && tree.Parent(at) != kNoNode && tree.Linked(tree.Parent(at));
    };
    const std::vector<NodeId> others = tree.WatchedAs(watch);
    if (!is_link_below_link(node) || std::ranges::none_of(others, [&](NodeId other) {
            return other != node && is_link_below_link(other);
        }))
        return false;
    if (watcher->entered_again.size() == kWalkEnteredAgainMax)
        return watcher->entered_again.count(node) == 0;
    watcher->entered_again.insert(node);
    return false;
}

// Gives the directory the watch of what its path leads to. False when there is nothing to go on with below it.
bool NodeWatch(Watcher *watcher, NodeId node, const std::string &path) {
    WatchTree &tree = watcher->tree;
    const uint32_t follow = tree.ByLink(node) || tree.Parent(node) == kNoNode ? 0 : IN_DONT_FOLLOW;
    const int watch = inotify_add_watch(watcher->inotify.get(), path.c_str(), kEvents | follow);
    if (watch < 0) {
        if (errno == ENOENT || errno == ENOTDIR || errno == ELOOP)
            watcher->doubtful.push_back(node);
        else
            Unwatched(watcher, node, path, errno);
        return false;
    }
    watcher->unwatched.erase(node);
    if (EndsHere(watcher, node, watch)) {
        TreeForget(watcher, node);
        return false;
    }
    // Two names for one directory that are no links: one of them is out of date, unless a mount makes it so.
    for (const NodeId other : tree.WatchedAs(watch)) {
        if (other != node && !tree.ByLink(other) && follow != 0)
            watcher->doubtful.push_back(other);
    }
    const int before = tree.Watch(node);
    tree.WatchSet(node, watch);
    if (before != watch && before != kNoWatch && tree.WatchedAs(before).empty())
        inotify_rm_watch(watcher->inotify.get(), before);
    return true;
}

void ChildrenForget(Watcher *watcher, NodeId node) {
    const WatchTree &tree = watcher->tree;
    for (NodeId child = tree.FirstChild(node); child != kNoNode; child = tree.FirstChild(node))
        TreeForget(watcher, child);
}

// Returns of what was unmounted the directories that stay: those that something was mounted on. A directory below one, which is
// gone, leads up to it, though the kernel may not have told of that yet.
std::set<NodeId> UnmountedTops(const Watcher &watcher, const std::set<NodeId> &unmounted) {
    const WatchTree &tree = watcher.tree;
    std::set<NodeId> tops;
    for (NodeId node : unmounted) {
        if (!tree.Exists(node) || tree.Watch(node) != kNoWatch || unmounted.contains(tree.Parent(node)))
            continue;
        while (tree.Parent(node) != kNoNode && !IsDirExist(tree.Path(node).c_str()))
            node = tree.Parent(node);
        tops.insert(node);
    }
    return tops;
}

} // namespace

void FaultNote(Watcher *watcher, WatchFault fault) {
    watcher->state.fault = fault;
    watcher->state.fault_time = time(nullptr);
    watcher->state.overflows += fault == WatchFault::overflow ? 1 : 0;
}

bool WatcherOpen(Watcher *watcher) {
    watcher->inotify = FdHandle(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    return static_cast<bool>(watcher->inotify);
}

void WatcherClose(Watcher *watcher) {
    watcher->inotify.Close();
    watcher->tree.Clear();
    watcher->doubtful.clear();
    watcher->unwatched.clear();
    watcher->unmounting.clear();
    watcher->unmounted.clear();
    watcher->entered_again.clear();
    watcher->rules.clear();
    watcher->rules_changed.clear();
}

bool IsEmptyDirectory(const std::string &path) {
    const NameRules everything;
    DirectoryReader reader = {.rules = &everything};
    return !DirectoryOpen(&reader, path.c_str()) || DirectoryNext(&reader) == nullptr;
}

void TreeWatch(Watcher *watcher, NodeId top) {
    WatchTree &tree = watcher->tree;
    std::vector<NodeId> open{top};
    while (!open.empty()) {
        const NodeId node = open.back();
        open.pop_back();
        const std::string path = tree.Path(node);
        if (!NodeWatch(watcher, node, path))
            continue;
        DirectoryReader reader = {.rules = &ActiveWalkRules().index};
        const bool there = DirectoryOpen(&reader, path.c_str());
        if (there && !DirectoryRulesRead(&watcher->rules, tree, node, reader))
            continue;
        while (const dirent *entry = there ? DirectoryNext(&reader) : nullptr) {
            const EntryKind kind = EntryKindGet(&reader, *entry);
            const bool directory = kind == EntryKind::directory || kind == EntryKind::linked_directory;
            if (!directory || IsLeftOut(watcher->rules, tree, node, path, entry->d_name, true) ||
                tree.ChildFind(node, entry->d_name) != kNoNode)
                continue;
            open.push_back(tree.ChildAdd(node, entry->d_name, kind == EntryKind::linked_directory));
        }
        if (reader.error == ENOENT || reader.error == ENOTDIR)
            watcher->doubtful.push_back(node);
        else if (reader.error != 0)
            Unwatched(watcher, node, path, reader.error);
    }
}

void TreeForget(Watcher *watcher, NodeId top) {
    const WatchTree::Removed removed = watcher->tree.Remove(top);
    for (const int watch : removed.watches)
        inotify_rm_watch(watcher->inotify.get(), watch);
    for (const NodeId node : removed.nodes) {
        watcher->unwatched.erase(node);
        watcher->unmounted.erase(node);
        watcher->entered_again.erase(node);
        watcher->rules.erase(node);
        watcher->rules_changed.erase(node);
    }
    // Before their numbers are used again.
    std::erase_if(watcher->doubtful, [&](NodeId node) { return !watcher->tree.Exists(node); });
}

void NodeVerify(Watcher *watcher, NodeId node) {
    WatchTree &tree = watcher->tree;
    const int before = tree.Watch(node);
    const std::string path = tree.Path(node);
    if (!NodeWatch(watcher, node, path) || tree.Watch(node) == before)
        return;
    // What was found below it belongs to the directory that was watched until now.
    ChildrenForget(watcher, node);
    TreeWatch(watcher, node);
    TreeMissed(&watcher->changes, path);
}

void DoubtfulVerify(Watcher *watcher) {
    const std::vector<NodeId> doubtful = std::exchange(watcher->doubtful, {});
    for (const NodeId node : doubtful) {
        if (!watcher->tree.Exists(node))
            continue;
        const std::string path = watcher->tree.Path(node);
        NodeVerify(watcher, node);
        // Its name still leads nowhere and no event is left to read: the directory is gone, and an event has
        // said so.
        if (watcher->tree.Exists(node) && watcher->tree.Watch(node) == kNoWatch &&
            !IsDirExist(path.c_str()) && watcher->tree.Parent(node) != kNoNode)
            TreeForget(watcher, node);
    }
}

void RulesSettle(Watcher *watcher) {
    for (const NodeId node : std::exchange(watcher->rules_changed, {})) {
        if (!watcher->tree.Exists(node))
            continue;
        const bool nothing_before = IsLeftOutWhole(watcher->rules, node);
        ChildrenForget(watcher, node);
        TreeWatch(watcher, node);
        if (watcher->tree.Exists(node) && !(nothing_before && IsLeftOutWhole(watcher->rules, node)))
            TreeMissed(&watcher->changes, watcher->tree.Path(node));
    }
}

void UnmountedSettle(Watcher *watcher) {
    const std::vector<NodeId> unmounting = std::exchange(watcher->unmounting, {});
    for (const NodeId node : UnmountedTops(*watcher, {unmounting.begin(), unmounting.end()})) {
        WatchTree &tree = watcher->tree;
        if (!tree.Exists(node))
            continue;
        // The kernel has told of what lies below it, and not yet of itself.
        if (tree.Watch(node) != kNoWatch) {
            watcher->unmounting.push_back(node);
            continue;
        }
        ChildrenForget(watcher, node);
        const std::string path = tree.Path(node);
        TreeAway(&watcher->changes, path, std::chrono::steady_clock::now());
        if (watcher->unmounted.insert(node).second)
            syslog(LOG_NOTICE, "%s was unmounted: its rows are left alone", SafeText(path).c_str());
    }
}

void TreeUnmounted(Watcher *watcher, NodeId root, const std::string &path) {
    const std::string top = watcher->tree.Path(root);
    NodeId node = root;
    for (size_t at = top.size() + 1; node != kNoNode && at < path.size();) {
        const size_t slash = std::min(path.find('/', at), path.size());
        node = watcher->tree.ChildFind(node, std::string_view(path).substr(at, slash - at));
        at = slash + 1;
    }
    if (node == kNoNode || node == root || !watcher->unmounted.insert(node).second)
        return;
    syslog(LOG_NOTICE, "the storage of %s is away: its rows are left alone", SafeText(path).c_str());
}

void UnmountedRetry(Watcher *watcher) {
    for (const NodeId node : std::set<NodeId>(watcher->unmounted)) {
        if (!watcher->tree.Exists(node))
            continue;
        const std::string path = watcher->tree.Path(node);
        if (IsEmptyDirectory(path) && !StorageIsMounted(path))
            continue;
        watcher->unmounted.erase(node);
        TreeWatch(watcher, node);
        TreeMissed(&watcher->changes, path);
    }
}

void UnwatchedRetry(Watcher *watcher) {
    watcher->limit_told = false;
    for (const NodeId node : std::exchange(watcher->unwatched, {})) {
        if (!watcher->tree.Exists(node))
            continue;
        TreeMissed(&watcher->changes, watcher->tree.Path(node));
        TreeWatch(watcher, node);
    }
}
