// SPDX-License-Identifier: GPL-2.0-or-later
//
// The watched directories. Each knows its name and the directory above it, so that a renamed directory costs the
// same whatever lies below; paths are put together when they are needed. Nothing here talks to the kernel.
#pragma once

#include <stdint.h>

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

using NodeId = uint32_t;
inline constexpr NodeId kNoNode = UINT32_MAX;
inline constexpr int kNoWatch = -1;

class WatchTree {
public:
    WatchTree() : children_(0, ChildHash{this}, ChildEqual{this}) {}
    WatchTree(const WatchTree &) = delete;
    WatchTree &operator=(const WatchTree &) = delete;

    NodeId RootAdd(const std::string &path);

    // Adds a child of that name, which must not be there yet. `by_link`: a symbolic link leads there.
    NodeId ChildAdd(NodeId parent, std::string_view name, bool by_link);
    [[nodiscard]] NodeId ChildFind(NodeId parent, std::string_view name) const;
    [[nodiscard]] NodeId FirstChild(NodeId node) const { return At(node).first_child; }
    [[nodiscard]] NodeId Parent(NodeId node) const { return At(node).parent; }
    [[nodiscard]] bool ByLink(NodeId node) const { return At(node).by_link; }

    // True for a directory that was reached through a link, or lies below one that was.
    [[nodiscard]] bool Linked(NodeId node) const { return At(node).linked; }
    [[nodiscard]] std::string_view Name(NodeId node) const { return At(node).name.get(); }
    [[nodiscard]] std::string Path(NodeId node) const;
    [[nodiscard]] bool Exists(NodeId node) const {
        return node < nodes_.size() && nodes_[node].name != nullptr;
    }

    // True for the directory `top` and all below it.
    [[nodiscard]] bool IsWithin(NodeId node, NodeId top) const;

    // Moves a directory to another parent and name. The new parent must not lie within the directory.
    void Move(NodeId node, NodeId parent, std::string_view name);

    // Sets the watch of a directory. Links and bind mounts lead to one directory by several paths, and the
    // kernel has one watch for it: the directories of a watch are a list.
    void WatchSet(NodeId node, int watch);
    [[nodiscard]] int Watch(NodeId node) const { return At(node).watch; }
    [[nodiscard]] std::vector<NodeId> WatchedAs(int watch) const;
    [[nodiscard]] bool IsWatchOfAncestor(NodeId node, int watch) const;

    // Takes a directory away with all below it.
    struct Removed {
        std::vector<NodeId> nodes;
        std::vector<int> watches; // that no other directory has
    };
    Removed Remove(NodeId node);
    void Clear();

    [[nodiscard]] size_t size() const { return nodes_.size() - free_.size(); }

private:
    struct Node {
        std::unique_ptr<char[]> name; // of a root: its path; none: the place is free
        NodeId parent = kNoNode;
        NodeId first_child = kNoNode;
        NodeId next = kNoNode; // of the same parent
        NodeId previous = kNoNode;
        NodeId next_same_watch = kNoNode;
        int watch = kNoWatch;
        bool by_link = false;
        bool linked = false;
    };
    struct ChildKey {
        NodeId parent;
        std::string_view name;
    };
    struct ChildHash {
        using is_transparent = void;
        const WatchTree *tree;
        size_t operator()(const ChildKey &key) const;
        size_t operator()(NodeId node) const { return (*this)(tree->KeyOf(node)); }
    };
    struct ChildEqual {
        using is_transparent = void;
        const WatchTree *tree;
        bool operator()(NodeId left, NodeId right) const { return left == right; }
        bool operator()(const ChildKey &key, NodeId node) const;
        bool operator()(NodeId node, const ChildKey &key) const { return (*this)(key, node); }
    };

    [[nodiscard]] const Node &At(NodeId node) const { return nodes_[node]; }
    [[nodiscard]] ChildKey KeyOf(NodeId node) const { return {At(node).parent, At(node).name.get()}; }
    NodeId Make(std::string_view name);
    void Attach(NodeId node, NodeId parent);
    void Detach(NodeId node);
    void LinkedSet(NodeId top);
    bool WatchClear(NodeId node);

    std::deque<Node> nodes_; // grows without copies
    std::vector<NodeId> free_;
    std::unordered_set<NodeId, ChildHash, ChildEqual> children_;
    std::unordered_map<int, NodeId> watches_; // to the first of the list
};
