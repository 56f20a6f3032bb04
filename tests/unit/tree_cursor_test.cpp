// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/tree_cursor.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "tests/unit/failing_readdir.h"
#include "tests/unit/test_files.h"

namespace fs = std::filesystem;

namespace {

using Texts = std::vector<std::string>;

constexpr char kTree[] = "/volume1/music";

// Takes root's way past the rights of files away, for a time.
class WithoutPrivilege {
public:
    WithoutPrivilege() {
        Get(before_);
        __user_cap_data_struct without[2] = {before_[0], before_[1]};
        without[0].effective &= ~((1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH));
        Set(without);
    }
    ~WithoutPrivilege() { Set(before_); }
    WithoutPrivilege(const WithoutPrivilege &) = delete;
    WithoutPrivilege &operator=(const WithoutPrivilege &) = delete;

private:
    static void Get(__user_cap_data_struct *data) {
        __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
        ASSERT_EQ(syscall(SYS_capget, &header, data), 0);
    }
    static void Set(const __user_cap_data_struct *data) {
        __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
        ASSERT_EQ(syscall(SYS_capset, &header, data), 0);
    }
    __user_cap_data_struct before_[2] = {};
};

std::string EndWord(const TreeCursor &cursor) {
    switch (cursor.end) {
    case PlaceEnd::read:
        return cursor.whole ? "whole" : "read";
    case PlaceEnd::left_out:
        return "left out";
    case PlaceEnd::gone:
        return "gone";
    case PlaceEnd::unopened:
        return std::string("unopened ") + strerrorname_np(cursor.error);
    case PlaceEnd::broken_off:
        return std::string("broken off ") + strerrorname_np(cursor.error);
    case PlaceEnd::too_long:
        return "too long";
    }
    return "?";
}

// The events of a walk, a text each, without the path of the tree; `during` is called at each.
Texts Events(TreeCursor cursor, const std::function<void(TreeEvent, const std::string &)> &during = {}) {
    Texts events;
    const size_t skipped = std::min(cursor.path.size(), sizeof kTree - 1);
    for (TreeEvent event = TreeNext(&cursor); event != TreeEvent::done; event = TreeNext(&cursor)) {
        const std::string path = cursor.path.substr(skipped);
        switch (event) {
        case TreeEvent::entered:
            events.push_back("in " + path);
            break;
        case TreeEvent::entry:
            events.push_back((cursor.kind == EntryKind::file ? "file " : "other ") + path);
            break;
        case TreeEvent::listed:
            events.push_back("listed " + path + ":");
            for (const std::string &name : cursor.names)
                events.back() += " " + name;
            break;
        case TreeEvent::left:
            events.push_back("out " + path + ", " + EndWord(cursor));
            break;
        case TreeEvent::done:
            break;
        }
        if (during)
            during(event, path);
    }
    EXPECT_EQ(TreeNext(&cursor), TreeEvent::done) << "again and again";
    return events;
}

// What a walk in the order of the file system tells.
Texts WalkEvents(const char *path = kTree, const NameRules &rules = ActiveWalkRules().index) {
    return Events(TreeBegin(path, {.rules = &rules}));
}

bool HasDot(const char *name) {
    return std::string(name).find('.') != std::string::npos;
}

TreeSettings Sorted() {
    return {.rules = &ActiveWalkRules().library, .listed = HasDot};
}

bool Has(const Texts &events, const std::string &event) {
    return std::count(events.begin(), events.end(), event) == 1;
}

// A tree of so many levels, a file in each. The path of the innermost.
std::string DeepTreeMake(int levels) {
    std::string path = kTree;
    for (int level = 0; level < levels; ++level) {
        FileWrite(path + "/a.mp3", "x");
        FileWrite(path + "/z.mp3", "x");
        path += "/d";
        fs::create_directory(path);
    }
    return path;
}

class TreeCursorTest : public testing::Test {
protected:
    TreeCursorTest() { SandboxReset(); }
    ~TreeCursorTest() override { ReaddirFailAt("", 0); }
};

} // namespace

TEST_F(TreeCursorTest, ATreeIsReadToItsEnd) {
    FileWrite("/volume1/music/A/B/c.mp3", "x");
    ASSERT_EQ(mkfifo("/volume1/music/A/B/pipe", 0600), 0);
    Texts events = WalkEvents("/volume1/music///");
    std::sort(events.begin() + 3, events.begin() + 5); // the order is the file system's
    EXPECT_EQ(events, (Texts{"in ", "in /A", "in /A/B", "file /A/B/c.mp3", "other /A/B/pipe",
                             "out /A/B, whole", "out /A, whole", "out , whole"}));
}

TEST_F(TreeCursorTest, ASortedWalkListsEachDirectoryBeforeItsSubDirectories) {
    for (const char *path : {"b/2.jpg", "b/1.jpg", "a.x/1.jpg", "c.jpg", "nodot", ".hidden.jpg", ".h/a.jpg",
                             "@eaDir/a.jpg", "my@eaDir/a.jpg", "a@eaDir.jpg"})
        FileWrite(std::string(kTree) + "/" + path, "x");
    EXPECT_EQ(Events(TreeBegin(kTree, Sorted())),
              (Texts{"in ", "listed : a.x a@eaDir.jpg c.jpg", "in /a.x", "listed /a.x: 1.jpg",
                     "out /a.x, whole", "in /b", "listed /b: 1.jpg 2.jpg", "out /b, whole", "out , whole"}));
}

TEST_F(TreeCursorTest, WhatTheRulesLeaveOutIsWhole) {
    FileWrite("/volume1/music/@eaDir/a.mp3", "x");
    FileWrite("/volume1/music/#recycle/a.mp3", "x");
    fs::create_directory_symlink("/volume1/music", "/volume1/music/loop");
    fs::create_directory_symlink("/proc", "/volume1/music/proc");
    const Texts events = WalkEvents();
    for (const char *event :
         {"out /#recycle, left out", "out /loop, left out", "out /proc, left out", "out , whole"})
        EXPECT_TRUE(Has(events, event)) << event;
    EXPECT_EQ(events.size(), 5u);
    EXPECT_EQ(WalkEvents("/volume1/music/#recycle/a"), Texts{"out /#recycle/a, left out"});
}

TEST_F(TreeCursorTest, AnotherSetOfRulesIsDataAlone) {
    constexpr std::string_view kNames[] = {"lost+found"};
    constexpr std::string_view kPrefixes[] = {"."};
    const NameRules rules = {.names = kNames, .prefixes = kPrefixes, .marker = ".nomedia"};
    for (const char *path : {"@eaDir/a.mp3", ".h/a.mp3", "lost+found/a.mp3", "m/.nomedia", "m/a.mp3"})
        FileWrite(std::string(kTree) + "/" + path, "x");
    Texts events = WalkEvents(kTree, rules);
    std::sort(events.begin(), events.end());
    EXPECT_EQ(events, (Texts{"file /@eaDir/a.mp3", "in ", "in /@eaDir", "out , whole", "out /@eaDir, whole",
                             "out /m, left out"}));
}

TEST_F(TreeCursorTest, ADirectoryWithoutRightsIsToldOfAndSoIsWhatHoldsIt) {
    FileWrite("/volume1/music/A/no/a.mp3", "x");
    FileWrite("/volume1/music/B/b.mp3", "x");
    fs::permissions("/volume1/music/A/no", fs::perms::none);
    for (const TreeSettings &settings : {TreeSettings{.rules = &ActiveWalkRules().index}, Sorted()}) {
        const WithoutPrivilege here;
        const Texts events = Events(TreeBegin(kTree, settings));
        for (const char *event :
             {"out /A/no, unopened EACCES", "out /A, read", "out /B, whole", "out , read"})
            EXPECT_TRUE(Has(events, event)) << event;
    }
    fs::permissions("/volume1/music/A/no", fs::perms::owner_all);
    EXPECT_TRUE(Has(WalkEvents(), "out , whole"));
}

TEST_F(TreeCursorTest, ADirectoryThatMayBeListedOnlyHasLinksThatCannotBeLookedAt) {
    FileWrite("/volume1/video/a.mp3", "x");
    fs::create_directory("/volume1/music/A");
    fs::create_symlink("/volume1/video/a.mp3", "/volume1/music/A/a.mp3");
    fs::permissions("/volume1/music/A", fs::perms::owner_read);
    {
        const WithoutPrivilege here;
        EXPECT_EQ(WalkEvents(), (Texts{"in ", "in /A", "other /A/a.mp3", "out /A, read", "out , read"}));
    }
    fs::permissions("/volume1/music/A", fs::perms::owner_all);
    fs::remove("/volume1/video/a.mp3");
    EXPECT_EQ(WalkEvents(), (Texts{"in ", "in /A", "other /A/a.mp3", "out /A, whole", "out , whole"}))
        << "a link that leads nowhere is nothing";
}

TEST_F(TreeCursorTest, AListingThatBreaksOffIsToldOf) {
    FileWrite("/volume1/music/A/a.x", "x");
    FileWrite("/volume1/music/B/b.x", "x");
    ReaddirFailAt("a.x", EIO);
    for (const TreeSettings &settings : {TreeSettings{.rules = &ActiveWalkRules().index}, Sorted()}) {
        const Texts events = Events(TreeBegin(kTree, settings));
        for (const char *event : {"out /A, broken off EIO", "out /B, whole", "out , read"})
            EXPECT_TRUE(Has(events, event)) << event;
        EXPECT_TRUE(std::none_of(events.begin(), events.end(),
                                 [](const std::string &event) { return event.starts_with("listed /A:"); }));
    }
}

TEST_F(TreeCursorTest, TheSubDirectoriesOfASortedWalkMayBreakOffToo) {
    FileWrite("/volume1/music/a.x", "x");
    FileWrite("/volume1/music/A/a.x", "x");
    const Texts events = Events(TreeBegin(kTree, Sorted()), [](TreeEvent event, const std::string &) {
        if (event == TreeEvent::listed)
            ReaddirFailAt("A", EIO);
    });
    EXPECT_EQ(events, (Texts{"in ", "listed : a.x", "out , broken off EIO"}));
}

TEST_F(TreeCursorTest, ATreeThatIsNotThereIsGone) {
    EXPECT_EQ(WalkEvents("/volume1/music/none"), Texts{"out /none, gone"});
    FileWrite("/volume1/music/a.mp3", "x");
    EXPECT_EQ(WalkEvents("/volume1/music/a.mp3"), Texts{"out /a.mp3, gone"});
}

// Above the levels that stay open a directory is opened again; it may be another one by then.
TEST_F(TreeCursorTest, ADirectoryThatVanishesWhileWhatIsBelowItIsWalked) {
    constexpr int kLevels = static_cast<int>(kWalkOpenLevels) + 3;
    for (const bool replaced : {false, true}) {
        SandboxReset();
        const std::string deep = DeepTreeMake(kLevels).substr(sizeof kTree - 1);
        const std::string parent = deep.substr(0, deep.rfind('/'));
        const Texts events = Events(TreeBegin(kTree, {.rules = &ActiveWalkRules().index}),
                                    [&](TreeEvent event, const std::string &path) {
                                        if (event != TreeEvent::left || path != deep)
                                            return;
                                        fs::rename(kTree + parent, "/volume1/video/away");
                                        if (replaced)
                                            fs::create_directory(kTree + parent);
                                    });
        EXPECT_TRUE(Has(events, "out " + deep + ", whole"));
        EXPECT_TRUE(Has(events, "out " + parent + ", gone")) << replaced;
        EXPECT_TRUE(Has(events, "out /d, read"));
        EXPECT_TRUE(Has(events, "out , read"));
    }
}

TEST_F(TreeCursorTest, ASubDirectoryThatVanishesBeforeItsTurn) {
    FileWrite("/volume1/music/a/1.x", "x");
    FileWrite("/volume1/music/b/1.x", "x");
    const Texts events = Events(TreeBegin(kTree, Sorted()), [](TreeEvent event, const std::string &path) {
        if (event == TreeEvent::left && path == "/a")
            fs::remove_all("/volume1/music/b");
    });
    EXPECT_EQ(events, (Texts{"in ", "listed :", "in /a", "listed /a: 1.x", "out /a, whole", "out /b, gone",
                             "out , read"}));
}

// What stands in a directory's place while its names are worked on is read, as where a disk gives its directories new
// numbers.
TEST_F(TreeCursorTest, ADirectoryThatIsReplacedWhileItsNamesAreWorkedOn) {
    FileWrite("/volume1/music/a/1.x", "x");
    FileWrite("/volume1/video/a/b/2.x", "x");
    const Texts events = Events(TreeBegin(kTree, Sorted()), [](TreeEvent event, const std::string &path) {
        if (event != TreeEvent::listed || path != "/a")
            return;
        fs::rename("/volume1/music/a", "/volume1/music/.away");
        fs::rename("/volume1/video/a", "/volume1/music/a");
    });
    EXPECT_EQ(events, (Texts{"in ", "listed :", "in /a", "listed /a: 1.x", "in /a/b", "listed /a/b: 2.x",
                             "out /a/b, whole", "out /a, whole", "out , whole"}));
}

TEST_F(TreeCursorTest, DeepTreesAreReadWhole) {
    constexpr size_t kLevels = 5 * kWalkOpenLevels;
    const size_t path_size = DeepTreeMake(kLevels).size();
    ASSERT_LT(path_size, kWalkPathSize);
    const Texts events = WalkEvents();
    EXPECT_EQ(std::count_if(events.begin(), events.end(),
                            [](const std::string &event) { return event.starts_with("file "); }),
              static_cast<ptrdiff_t>(2 * kLevels));
    EXPECT_EQ(events.back(), "out , whole");
    const Texts sorted = Events(TreeBegin(kTree, Sorted()));
    EXPECT_EQ(sorted.size(), 3 * (kLevels + 1));
    EXPECT_EQ(sorted.back(), "out , whole");
}

TEST_F(TreeCursorTest, WideTreesAreReadWhole) {
    constexpr size_t kDirectories = 3 * kResyncFirstPortion + 1;
    for (size_t i = 0; i < kDirectories; ++i)
        fs::create_directory(std::string(kTree) + "/" + std::to_string(i));
    const Texts events = WalkEvents();
    EXPECT_EQ(events.size(), 2 * (kDirectories + 1));
    EXPECT_EQ(events.back(), "out , whole");
    Texts names;
    for (const std::string &event : Events(TreeBegin(kTree, Sorted()))) {
        if (event.starts_with("in /"))
            names.push_back(event);
    }
    EXPECT_EQ(names.size(), kDirectories);
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
}

TEST_F(TreeCursorTest, LinksThatPointAtEachOtherEnd) {
    fs::create_directories("/volume1/music/x");
    fs::create_directories("/volume1/music/y");
    fs::create_directory_symlink("/volume1/music/y", "/volume1/music/x/y");
    fs::create_directory_symlink("/volume1/music/x", "/volume1/music/y/x");
    EXPECT_EQ(
        Events(TreeBegin(kTree, Sorted())),
        (Texts{"in ", "listed :", "in /x", "listed /x:", "in /x/y", "listed /x/y:", "out /x/y/x, left out",
               "out /x/y, whole", "out /x, whole", "in /y", "listed /y:", "in /y/x",
               "listed /y/x:", "out /y/x/y, left out", "out /y/x, whole", "out /y, whole", "out , whole"}));
}

TEST_F(TreeCursorTest, APathThatDoesNotFitIsAPlaceThatWasNotRead) {
    const std::string name(250, 'n');
    const fs::path before = fs::current_path();
    fs::current_path(kTree);
    for (int level = 0; level < 17; ++level) { // 4,267 bytes of path
        fs::create_directory(name);
        fs::current_path(name);
    }
    fs::current_path(before);
    for (TreeSettings settings : {TreeSettings{.rules = &ActiveWalkRules().index}, Sorted()}) {
        const Texts events = Events(TreeBegin(kTree, settings));
        EXPECT_EQ(std::count_if(events.begin(), events.end(),
                                [](const std::string &event) { return event.ends_with(", too long"); }),
                  1);
        EXPECT_EQ(events.back(), "out , read");
    }
    const Texts cut = Events(TreeBegin(kTree, {.rules = &ActiveWalkRules().index, .cut = true}));
    EXPECT_EQ(cut.back(), "out , read") << "a path that was cut stands for another place";
    const std::string start = kTree + std::string(kWalkPathSize, '/');
    const Texts refused = WalkEvents(start.c_str());
    ASSERT_EQ(refused.size(), 1u);
    EXPECT_TRUE(refused.front().ends_with("/, too long")) << "it is not cut to another place";
}

TEST_F(TreeCursorTest, ListingsThatDoNotTellAreLookedAt) {
    FileWrite("/volume1/music/a.x/b.x", "x");
    TreeSettings settings = Sorted();
    settings.untold = true;
    EXPECT_EQ(Events(TreeBegin(kTree, settings)), (Texts{"in ", "listed : a.x", "in /a.x", "listed /a.x: b.x",
                                                         "out /a.x, whole", "out , whole"}));
}
