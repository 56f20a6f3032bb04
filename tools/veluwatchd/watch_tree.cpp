// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/watch_tree.h"

#include <string.h>

#include <functional>

namespace {

// There are many names, so that each takes its bytes only and not a string object.
std::unique_ptr<char[]> NameCopy(std::string_view name) {
    auto copy = std::make_unique<char[]>(name.size() + 1);
    memcpy(copy.get(), name.data(), name.size());
    return copy;
}

} // namespace

size_t WatchTree::ChildHash::operator()(const ChildKey &key) const {
    constexpr size_t kSpread = 0x9E3779B1U; // siblings' numbers are neighbours
    return std::hash<std::string_view>()(key.name) ^ (key.parent * kSpread);
}

bool WatchTree::ChildEqual::operator()(const ChildKey &key, NodeId node) const {
    return tree->At(node).parent == key.parent && key.name == tree->At(node).name.get();
}

NodeId WatchTree::Make(std::string_view name) {
    NodeId node = kNoNode;
    if (free_.empty()) {
        node = static_cast<NodeId>(nodes_.size());
        nodes_.emplace_back();
    } else {
        node = free_.back();
        free_.pop_back();
    }
    nodes_[node].name = NameCopy(name);
    return node;
}

void WatchTree::Attach(NodeId node, NodeId parent) {
    Node &child = nodes_[node];
    Node &above = nodes_[parent];
    child.parent = parent;
    child.previous = kNoNode;
    child.next = above.first_child;
    if (child.next != kNoNode)
        nodes_[child.next].previous = node;
    above.first_child = node;
    child.linked = child.by_link || above.linked;
    children_.insert(node);
}

void WatchTree::Detach(NodeId node) {
    Node &child = nodes_[node];
    if (child.parent == kNoNode)
        return;
    children_.erase(node);
    if (child.previous != kNoNode)
        nodes_[child.previous].next = child.next;
    else
        nodes_[child.parent].first_child = child.next;
    if (child.next != kNoNode)
        nodes_[child.next].previous = child.previous;
    child.parent = kNoNode;
}

NodeId WatchTree::RootAdd(const std::string &path) {
    return Make(path);
}

NodeId WatchTree::ChildAdd(NodeId parent, std::string_view name, bool by_link) {
    const NodeId node = Make(name);
    nodes_[node].by_link = by_link;
    Attach(node, parent);
    return node;
}

NodeId WatchTree::ChildFind(NodeId parent, std::string_view name) const {
    const auto found = children_.find(ChildKey{parent, name});
    return found == children_.end() ? kNoNode : *found;
}

std::string WatchTree::Path(NodeId node) const {
    std::vector<NodeId> trail;
    size_t size = 0;
    for (; node != kNoNode; node = At(node).parent) {
        trail.push_back(node);
        size += strlen(At(node).name.get()) + 1;
    }
    std::string path;
    path.reserve(size);
    for (auto step = trail.rbegin(); step != trail.rend(); ++step) {
        if (step != trail.rbegin())
            path += '/';
        path += At(*step).name.get();
    }
    return path;
}

bool WatchTree::IsWithin(NodeId node, NodeId top) const {
    while (node != kNoNode && node != top)
        node = At(node).parent;
    return node == top;
}

void WatchTree::Move(NodeId node, NodeId parent, std::string_view name) {
    Detach(node);
    nodes_[node].name = NameCopy(name);
    const bool was_linked = nodes_[node].linked;
    Attach(node, parent);
    if (nodes_[node].linked != was_linked)
        LinkedSet(node);
}

void WatchTree::LinkedSet(NodeId top) {
    std::vector<NodeId> open{top};
    while (!open.empty()) {
        const NodeId node = open.back();
        open.pop_back();
        for (NodeId child = At(node).first_child; child != kNoNode; child = At(child).next) {
            nodes_[child].linked = nodes_[child].by_link || At(node).linked;
            open.push_back(child);
        }
    }
}

// True when no other directory has the watch.
bool WatchTree::WatchClear(NodeId node) {
    Node &cleared = nodes_[node];
    const auto first = watches_.find(cleared.watch);
    cleared.watch = kNoWatch;
    if (first == watches_.end())
        return false;
    NodeId *place = &first->second;
    while (*place != node)
        place = &nodes_[*place].next_same_watch;
    *place = cleared.next_same_watch;
    cleared.next_same_watch = kNoNode;
    if (first->second != kNoNode)
        return false;
    watches_.erase(first);
    return true;
}

void WatchTree::WatchSet(NodeId node, int watch) {
    if (At(node).watch != kNoWatch)
        WatchClear(node);
    if (watch == kNoWatch)
        return;
    nodes_[node].watch = watch;
    NodeId &first = watches_.try_emplace(watch, kNoNode).first->second;
    nodes_[node].next_same_watch = first;
    first = node;
}

std::vector<NodeId> WatchTree::WatchedAs(int watch) const {
    std::vector<NodeId> found;
    const auto first = watches_.find(watch);
    for (NodeId node = first == watches_.end() ? kNoNode : first->second; node != kNoNode;
         node = At(node).next_same_watch)
        found.push_back(node);
    return found;
}

bool WatchTree::IsWatchOfAncestor(NodeId node, int watch) const {
    for (node = At(node).parent; node != kNoNode; node = At(node).parent) {
        if (At(node).watch == watch)
            return true;
    }
    return false;
}

WatchTree::Removed WatchTree::Remove(NodeId top) {
    Detach(top);
    Removed removed{{top}, {}};
    for (size_t at = 0; at < removed.nodes.size(); ++at) {
        const NodeId node = removed.nodes[at];
        for (NodeId child = At(node).first_child; child != kNoNode; child = At(child).next) {
            children_.erase(child);
            removed.nodes.push_back(child);
        }
        const int watch = At(node).watch;
        if (watch != kNoWatch && WatchClear(node))
            removed.watches.push_back(watch);
    }
    for (const NodeId node : removed.nodes)
        nodes_[node] = Node();
    free_.insert(free_.end(), removed.nodes.begin(), removed.nodes.end());
    return removed;
}

void WatchTree::Clear() {
    children_.clear();
    watches_.clear();
    nodes_.clear();
    free_.clear();
}
