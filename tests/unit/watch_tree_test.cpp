// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/watch_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tools/veluwatchd/path_order.h"

TEST(WatchTree, PutsPathsTogether) {
    WatchTree tree;
    const NodeId root = tree.RootAdd("/volume1/music");
    const NodeId a = tree.ChildAdd(root, "a", false);
    const NodeId b = tree.ChildAdd(a, "b c", false);
    EXPECT_EQ(tree.Path(root), "/volume1/music");
    EXPECT_EQ(tree.Path(b), "/volume1/music/a/b c");
    EXPECT_EQ(tree.ChildFind(a, "b c"), b);
    EXPECT_EQ(tree.ChildFind(root, "b c"), kNoNode);
}

TEST(WatchTree, ARenameLeavesWhatIsBelowAlone) {
    WatchTree tree;
    const NodeId root = tree.RootAdd("/r");
    const NodeId a = tree.ChildAdd(root, "a", false);
    const NodeId b = tree.ChildAdd(root, "b", false);
    const NodeId c = tree.ChildAdd(a, "c", false);
    tree.WatchSet(c, 7);
    tree.Move(a, b, "d");
    EXPECT_EQ(tree.Path(c), "/r/b/d/c");
    EXPECT_EQ(tree.Watch(c), 7);
    EXPECT_EQ(tree.ChildFind(root, "a"), kNoNode);
    EXPECT_EQ(tree.ChildFind(b, "d"), a);
}

TEST(WatchTree, OneWatchMayBeOfSeveralPaths) {
    WatchTree tree;
    const NodeId root = tree.RootAdd("/r");
    const NodeId a = tree.ChildAdd(root, "a", false);
    const NodeId link = tree.ChildAdd(root, "l", true);
    const NodeId below = tree.ChildAdd(link, "x", false);
    tree.WatchSet(root, 1);
    tree.WatchSet(a, 2);
    tree.WatchSet(link, 2);
    EXPECT_EQ(tree.WatchedAs(2).size(), 2u);
    EXPECT_TRUE(tree.Linked(link) && tree.Linked(below));
    EXPECT_FALSE(tree.Linked(a));
    EXPECT_TRUE(tree.IsWatchOfAncestor(below, 1));
    EXPECT_FALSE(tree.IsWatchOfAncestor(a, 2));
    EXPECT_TRUE(tree.Remove(a).watches.empty()) << "the link still needs it";
    EXPECT_EQ(tree.WatchedAs(2), std::vector<NodeId>{link});
    EXPECT_EQ(tree.Remove(link).watches, std::vector<int>{2});
    EXPECT_TRUE(tree.WatchedAs(2).empty());
}

TEST(WatchTree, ARemovedTreeLeavesNothing) {
    WatchTree tree;
    const NodeId root = tree.RootAdd("/r");
    const NodeId a = tree.ChildAdd(root, "a", false);
    const NodeId b = tree.ChildAdd(a, "b", false);
    tree.ChildAdd(root, "c", false);
    tree.WatchSet(a, 1);
    tree.WatchSet(b, 2);
    WatchTree::Removed removed = tree.Remove(a);
    std::sort(removed.watches.begin(), removed.watches.end());
    EXPECT_EQ(removed.watches, (std::vector<int>{1, 2}));
    EXPECT_EQ(removed.nodes.size(), 2u);
    EXPECT_FALSE(tree.Exists(a) || tree.Exists(b));
    EXPECT_EQ(tree.size(), 2u);
    EXPECT_EQ(tree.ChildFind(root, "a"), kNoNode);
    const NodeId again = tree.ChildAdd(root, "a", false);
    EXPECT_EQ(tree.FirstChild(again), kNoNode) << "a number that is used again";
    EXPECT_EQ(tree.Watch(again), kNoWatch);
}

TEST(WatchTree, ManySiblingsAreFound) {
    WatchTree tree;
    const NodeId root = tree.RootAdd("/r");
    for (int number = 0; number < 20000; ++number)
        tree.ChildAdd(root, std::to_string(number), false);
    for (int number = 0; number < 20000; number += 7) {
        const NodeId node = tree.ChildFind(root, std::to_string(number));
        ASSERT_NE(node, kNoNode);
        EXPECT_EQ(tree.Path(node), "/r/" + std::to_string(number));
    }
}

TEST(PathOrder, WhatIsBelowADirectoryFollowsIt) {
    std::vector<std::string> paths = {"/a!", "/a/b", "/a", "/a-b", "/a/b/c", "/b", "/a\xFF", "/a/b!"};
    std::sort(paths.begin(), paths.end(), PathLess());
    EXPECT_EQ(paths,
              (std::vector<std::string>{"/a", "/a/b", "/a/b/c", "/a/b!", "/a!", "/a-b", "/a\xFF", "/b"}));
}

TEST(PathOrder, KnowsWhatIsBelow) {
    EXPECT_TRUE(IsBelow("/a/b", "/a"));
    EXPECT_TRUE(IsBelow("/a/b/c", "/a"));
    EXPECT_FALSE(IsBelow("/a", "/a"));
    EXPECT_FALSE(IsBelow("/ab", "/a"));
    EXPECT_FALSE(IsBelow("/a", ""));
}
