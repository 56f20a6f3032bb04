// SPDX-License-Identifier: GPL-2.0-or-later
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tools/veluwatchd/bounds.h"
#include "tools/veluwatchd/changes.h"
#include "tools/veluwatchd/request_plan.h"

namespace {

using namespace std::string_literals;

const WatchTime kBegin = WatchTime() + std::chrono::hours(1);
constexpr std::chrono::seconds kSettle(3);

// A share and what is on its disk when the requests are made.
struct Scene {
    Changes changes;
    std::map<std::string, PathState> disk;
    std::vector<std::string> refused;
    WatchTime now = kBegin;

    Scene() { changes.photo_library = true; }

    void Disk(const std::string &path, PathKind kind, double age = 100) { disk[path] = {kind, age}; }

    std::string Plan(bool everything = true) {
        PlanSettings settings;
        settings.look = [&](const std::string &path) {
            const auto found = disk.find(path);
            return found == disk.end() ? PathState() : found->second;
        };
        settings.share_word = [](const std::string &path) -> std::optional<std::string> {
            if (path == "/volume1/music")
                return "music";
            if (path == "/volume1/photo" || path == "/volume1/a:b")
                return "";
            return {};
        };
        settings.refuse = [&](const std::string &path, const std::string &) { refused.push_back(path); };
        settings.settle = kSettle;
        settings.everything = everything;
        return RequestPlanMake(&changes, now, settings);
    }
};

constexpr PathKind kFile = PathKind::file;
constexpr PathKind kDirectory = PathKind::directory;

const std::string kMusic = "/volume1/music/";
const std::string kPhoto = "/volume1/photo/";

Rename FileFrom(const std::string &old_path, const std::string &new_path) {
    return {new_path, old_path, false};
}

Rename TreeFrom(const std::string &old_path, const std::string &new_path) {
    return {new_path, old_path, true};
}

} // namespace

TEST(WatchChanges, WhatHappensToOnePathIsOneRequest) {
    const std::string path = kMusic + "a.mp3";
    using Step = std::function<void(Changes *)>;
    const Step created = [&](Changes *changes) { FileCreated(changes, path, kBegin); };
    const Step touched = [&](Changes *changes) { FileTouched(changes, path, kBegin); };
    const Step gone = [&](Changes *changes) { FileGone(changes, path, kBegin); };
    const Step tree_came = [&](Changes *changes) { TreeCame(changes, path, kBegin); };
    const Step tree_gone = [&](Changes *changes) { TreeGone(changes, path, kBegin); };
    struct Case {
        std::vector<Step> steps;
        PathKind end;
        std::string lines;
    };
    const Case cases[] = {
        {{created, touched}, kFile, "a:" + path + "\n"},
        {{touched, touched}, kFile, "a:" + path + "\n"},
        {{created, gone}, PathKind::gone, "d:" + path + "\n"},
        {{gone, created}, kFile, "a:" + path + "\n"},
        {{touched}, PathKind::gone, "d:" + path + "\n"},
        {{gone}, kFile, "a:" + path + "\n"},
        {{tree_came}, kDirectory, "A:" + path + "\n"},
        {{tree_came}, PathKind::gone, ""},
        {{tree_came, tree_gone}, PathKind::gone, "D:" + path + "\n"},
        {{tree_gone, tree_came}, kDirectory, "N:" + path + ":" + path + "\n"},
        {{gone, tree_came}, kDirectory, "N:" + path + ":" + path + "\n"},
        {{tree_gone, created}, kFile, "R:music\n"},
        {{touched}, kDirectory, ""},
    };
    for (const Case &one : cases) {
        Scene scene;
        for (const Step &step : one.steps)
            step(&scene.changes);
        scene.Disk(path, one.end);
        EXPECT_EQ(scene.Plan(), one.lines) << &one - cases;
        EXPECT_TRUE(scene.changes.empty());
    }
}

TEST(WatchChanges, ANewTreeIsOneRequest) {
    Scene scene;
    TreeCame(&scene.changes, kMusic + "t", kBegin);
    FileTouched(&scene.changes, kMusic + "t/a.mp3", kBegin);
    TreeCame(&scene.changes, kMusic + "t/u", kBegin);
    FileTouched(&scene.changes, kMusic + "t!", kBegin);
    EXPECT_EQ(scene.changes.size(), 2u) << "what comes in it is not kept";
    scene.Disk(kMusic + "t", kDirectory);
    scene.Disk(kMusic + "t!", kFile);
    EXPECT_EQ(scene.Plan(), "A:" + kMusic + "t\na:" + kMusic + "t!\n");
}

TEST(WatchChanges, WhatGoesFromANewTreeIsAskedFor) {
    Scene scene;
    TreeCame(&scene.changes, kMusic + "t", kBegin);
    FileGone(&scene.changes, kMusic + "t/a.mp3", kBegin);
    TreeGone(&scene.changes, kMusic + "t/u", kBegin);
    scene.Disk(kMusic + "t", kDirectory);
    EXPECT_EQ(scene.Plan(), "A:" + kMusic + "t\nd:" + kMusic + "t/a.mp3\nD:" + kMusic + "t/u\n");
}

TEST(WatchChanges, ARemovedTreeIsOneRequest) {
    Scene scene;
    FileGone(&scene.changes, kMusic + "t/a.mp3", kBegin);
    TreeGone(&scene.changes, kMusic + "t", kBegin);
    EXPECT_EQ(scene.Plan(), "D:" + kMusic + "t\n");
}

TEST(WatchChanges, ATreeThatComesWhereARemovalIsNotDoneIsIndexedAnew) {
    Scene scene;
    TreeGone(&scene.changes, kMusic + "t", kBegin);
    EXPECT_EQ(scene.Plan(), "D:" + kMusic + "t\n");
    TreeCame(&scene.changes, kMusic + "t", kBegin);
    scene.changes.asked = {}; // done since, but it may have found the directory
    scene.Disk(kMusic + "t", kDirectory);
    EXPECT_EQ(scene.Plan(), "N:" + kMusic + "t:" + kMusic + "t\n");
    TreeCame(&scene.changes, kMusic + "u", kBegin);
    scene.Disk(kMusic + "u", kDirectory);
    EXPECT_EQ(scene.Plan(), "A:" + kMusic + "u\n");
}

TEST(WatchChanges, AfterTooManyRequestsAnythingMayBeAsked) {
    Scene scene;
    for (size_t number = 0; number <= kAskedMax; ++number)
        FileGone(&scene.changes, kMusic + std::to_string(number), kBegin);
    scene.Plan();
    EXPECT_TRUE(scene.changes.asked.lost);
    EXPECT_TRUE(scene.changes.asked.paths.empty());
    TreeCame(&scene.changes, kMusic + "t", kBegin);
    scene.Disk(kMusic + "t", kDirectory);
    EXPECT_EQ(scene.Plan(), "N:" + kMusic + "t:" + kMusic + "t\n");
}

TEST(WatchChanges, APathWithAColonIsIndexedWithWhatIsAboveIt) {
    Scene scene;
    const std::string path = kMusic + "d/a:b";
    TreeGone(&scene.changes, path, kBegin);
    TreeCame(&scene.changes, path, kBegin);
    scene.Disk(path, kDirectory);
    EXPECT_EQ(scene.Plan(), "N:" + kMusic + "d:" + kMusic + "d\n");
    TreeMissed(&scene.changes, "/volume1/a:b/c");
    EXPECT_EQ(scene.Plan(), "") << "but never with what is above the share";
    EXPECT_EQ(scene.refused, std::vector<std::string>{"/volume1/a:b"});
}

TEST(WatchChanges, ATreeIsIndexedAnewOnce) {
    Scene scene;
    for (const char *name : {"d/a", "d/b"}) { // have become files
        TreeGone(&scene.changes, kMusic + name, kBegin);
        scene.Disk(kMusic + name, kFile);
    }
    EXPECT_EQ(scene.Plan(), "N:" + kMusic + "d:" + kMusic + "d\n");
}

TEST(WatchChanges, OfATreeThatIsAwayNothingIsAsked) {
    Scene scene;
    FileTouched(&scene.changes, kPhoto + "usb/a.jpg", kBegin);
    FileTouched(&scene.changes, kPhoto + "usb!", kBegin);
    FileMoved(&scene.changes, FileFrom(kPhoto + "usb/x", kPhoto + "usb/y"), kBegin);
    FileMoved(&scene.changes, FileFrom(kPhoto + "x", kPhoto + "usb/x"), kBegin);
    FileMoved(&scene.changes, FileFrom(kPhoto + "v", kPhoto + "w"), kBegin);
    TreeMissed(&scene.changes, kPhoto + "usb/d");
    TreeAway(&scene.changes, kPhoto + "usb", kBegin);
    scene.Disk(kPhoto + "usb", kDirectory); // what it was mounted on
    scene.Disk(kPhoto + "usb!", kFile);
    EXPECT_EQ(scene.Plan(), "N:" + kPhoto + "w:" + kPhoto + "v\na:" + kPhoto + "usb!\nd:" + kPhoto + "x\n");
}

TEST(WatchChanges, WhatNoLineCanCarryIsRefused) {
    Scene scene;
    FileTouched(&scene.changes, kMusic + "a\nb", kBegin);
    scene.Disk(kMusic + "a\nb", kFile);
    EXPECT_EQ(scene.Plan(), "");
    EXPECT_EQ(scene.refused, std::vector<std::string>{kMusic + "a\nb"});
}

TEST(WatchChanges, AFileRests) {
    Scene scene;
    FileTouched(&scene.changes, kMusic + "a", kBegin);
    FileCreated(&scene.changes, kMusic + "b", kBegin);
    FileCreated(&scene.changes, kMusic + "c", kBegin);
    scene.Disk(kMusic + "a", kFile, 0);
    scene.Disk(kMusic + "b", kFile, 1);
    scene.Disk(kMusic + "c", kFile, 3);
    EXPECT_EQ(scene.Plan(false), "");
    scene.now += kSettle;
    EXPECT_EQ(scene.Plan(false), "a:" + kMusic + "a\na:" + kMusic + "c\n") << "the other is being written to";
    scene.Disk(kMusic + "b", kFile, -5);
    EXPECT_EQ(scene.Plan(false), "a:" + kMusic + "b\n") << "a clock that was set says nothing";
}

TEST(WatchChanges, RenamesOutsideTheLibraryAreRemovalsAndAdditions) {
    for (const bool library : {true, false}) {
        Scene scene;
        scene.changes.photo_library = library;
        const std::string share = library ? kMusic : kPhoto;
        FileMoved(&scene.changes, FileFrom(share + "x", share + "y"), kBegin);
        TreeMoved(&scene.changes, TreeFrom(share + "s", share + "t"), kBegin);
        scene.Disk(share + "y", kFile);
        scene.Disk(share + "t", kDirectory);
        EXPECT_EQ(scene.Plan(), "D:" + share + "s\nA:" + share + "t\nd:" + share + "x\na:" + share + "y\n");
    }
}

TEST(WatchChanges, RowsFollowRenamesWhereTheRulesKeepThem) {
    Scene scene;
    scene.changes.rows_move = true;
    FileMoved(&scene.changes, FileFrom(kMusic + "x", "/volume1/video/y"), kBegin);
    TreeMoved(&scene.changes, TreeFrom(kMusic + "s", kMusic + "t"), kBegin);
    TreeMoved(&scene.changes, TreeFrom(kMusic + "a/b/c/d", kMusic + "a/b/c/e"), kBegin);
    FileMoved(&scene.changes, FileFrom(kPhoto + "p", kMusic + "p"), kBegin);
    TreeMoved(&scene.changes, TreeFrom(kMusic + "q", kPhoto + "q"), kBegin);
    for (const std::string &path : {"/volume1/video/y"s, kMusic + "p"})
        scene.Disk(path, kFile);
    for (const std::string &path : {kMusic + "t", kMusic + "a/b/c/e", kPhoto + "q"})
        scene.Disk(path, kDirectory);
    EXPECT_EQ(scene.Plan(), "N:/volume1/video/y:" + kMusic + "x\nN:" + kMusic + "t:" + kMusic +
                                "s\nN:" + kMusic + "a/b/c/e:" + kMusic + "a/b/c/d\na:" + kMusic +
                                "p\nD:" + kMusic + "q\nd:" + kPhoto + "p\nA:" + kPhoto + "q\n");
}

TEST(WatchChanges, ALibraryFollowsRenames) {
    struct Case {
        const char *what;
        std::function<void(Scene *)> happens;
        std::string lines; // $ is the share
    };
    const auto file = [](Scene *scene, const char *from, const char *to) {
        FileMoved(&scene->changes, FileFrom(kPhoto + from, kPhoto + to), kBegin);
    };
    const auto tree = [](Scene *scene, const char *from, const char *to) {
        TreeMoved(&scene->changes, TreeFrom(kPhoto + from, kPhoto + to), kBegin);
    };
    const Case cases[] = {
        {"a file", [&](Scene *scene) { file(scene, "x", "f"); }, "N:$f:$x\n"},
        {"a file that was written to",
         [&](Scene *scene) {
             FileTouched(&scene->changes, kPhoto + "x", kBegin);
             file(scene, "x", "f");
         },
         "N:$f:$x\na:$f\n"},
        {"a file that was created",
         [&](Scene *scene) {
             FileCreated(&scene->changes, kPhoto + "x", kBegin);
             file(scene, "x", "f");
         },
         "a:$f\nd:$x\n"},
        {"a file that becomes no picture", [&](Scene *scene) { file(scene, "x.jpg", "f"); },
         "a:$f\nd:$x.jpg\n"},
        {"a file that becomes a picture", [&](Scene *scene) { file(scene, "x", "f.jpg"); },
         "a:$f.jpg\nd:$x\n"},
        {"a video that becomes another", [&](Scene *scene) { file(scene, "x.mkv", "f.avi"); },
         "a:$f.avi\nd:$x.mkv\n"},
        {"a file that becomes hidden", [&](Scene *scene) { file(scene, "x", ".f"); }, "a:$.f\nd:$x\n"},
        {"a tree", [&](Scene *scene) { tree(scene, "s", "d"); }, "N:$d:$s\n"},
        {"an album to where there are none", [&](Scene *scene) { tree(scene, "s", "d/e/i"); },
         "N:$d/e/i:$s\nR:photo\n"},
        {"a tree between two others", [&](Scene *scene) { tree(scene, "s/t/u", "d/e/i"); },
         "N:$d/e/i:$s/t/u\n"},
        {"a tree twice",
         [&](Scene *scene) {
             tree(scene, "s", "t");
             tree(scene, "t", "d");
         },
         "N:$d:$s\n"},
        {"into a tree that is renamed",
         [&](Scene *scene) {
             tree(scene, "s", "t/e");
             file(scene, "t/e/x", "t/e/g");
             tree(scene, "t", "d");
         },
         "N:$d/e:$s\nN:$d/e/g:$d/e/x\nN:$d:$t\n"},
        {"a tree that was changed",
         [&](Scene *scene) {
             FileTouched(&scene->changes, kPhoto + "s/f", kBegin);
             FileGone(&scene->changes, kPhoto + "s/x", kBegin);
             tree(scene, "s", "d");
         },
         "N:$d:$s\na:$d/f\nd:$d/x\n"},
        {"a new tree",
         [&](Scene *scene) {
             TreeCame(&scene->changes, kPhoto + "s", kBegin);
             tree(scene, "s", "d");
         },
         "A:$d\nD:$s\n"},
        {"over a tree that was removed",
         [&](Scene *scene) {
             TreeGone(&scene->changes, kPhoto + "d", kBegin);
             tree(scene, "s", "d");
         },
         "N:$d:$d\nD:$s\nR:photo\n"},
        {"and removed",
         [&](Scene *scene) {
             tree(scene, "s", "t");
             TreeGone(&scene->changes, kPhoto + "t", kBegin);
         },
         "D:$s\nD:$t\n"},
        {"out of the library",
         [&](Scene *scene) {
             TreeMoved(&scene->changes, TreeFrom(kPhoto + "s", kMusic + "d"), kBegin);
             scene->Disk(kMusic + "d", kDirectory);
         },
         "A:/volume1/music/d\nD:$s\n"},
    };
    for (const Case &one : cases) {
        Scene scene;
        for (const char *name : {"f", ".f", "f.jpg", "f.avi", "d/f", "d/e/g"})
            scene.Disk(kPhoto + name, kFile);
        for (const char *name : {"d", "d/e", "d/e/i"})
            scene.Disk(kPhoto + name, kDirectory);
        one.happens(&scene);
        std::string lines = one.lines;
        for (size_t at = lines.find('$'); at != std::string::npos; at = lines.find('$', at))
            lines.replace(at, 1, kPhoto);
        EXPECT_EQ(scene.Plan(), lines) << one.what;
    }
}

TEST(WatchChanges, ARenameThatNoLineCarriesAnyMoreIsARemovalAndAnAddition) {
    Scene scene;
    const std::string old_path = kPhoto + std::string(200, 'x');
    const std::string folder = kPhoto + std::string(4000, 'n');
    FileMoved(&scene.changes, FileFrom(old_path, kPhoto + "s/y"), kBegin);
    TreeMoved(&scene.changes, TreeFrom(kPhoto + "s", folder), kBegin);
    scene.Disk(folder, kDirectory);
    scene.Disk(folder + "/y", kFile);
    EXPECT_EQ(scene.Plan(), "N:" + folder + ":" + kPhoto + "s\na:" + folder + "/y\nd:" + old_path + "\n");
    EXPECT_TRUE(scene.refused.empty());
}

TEST(WatchChanges, WhatIsAskedAndNotDoneIsAskedOfTheNewNames) {
    Scene scene;
    FileTouched(&scene.changes, kPhoto + "s/a.jpg", kBegin);
    scene.Disk(kPhoto + "s/a.jpg", kFile);
    EXPECT_EQ(scene.Plan(), "a:" + kPhoto + "s/a.jpg\n");
    TreeMoved(&scene.changes, TreeFrom(kPhoto + "s", kPhoto + "d"), kBegin);
    scene.disk.clear();
    scene.Disk(kPhoto + "d", kDirectory);
    scene.Disk(kPhoto + "d/a.jpg", kFile);
    EXPECT_EQ(scene.Plan(), "N:" + kPhoto + "d:" + kPhoto + "s\na:" + kPhoto + "d/a.jpg\n");
    // The daemon will find no directory of the name d, and leave the rows of s.
    TreeMoved(&scene.changes, TreeFrom(kPhoto + "d", kPhoto + "e"), kBegin);
    scene.disk.clear();
    scene.Disk(kPhoto + "e", kDirectory);
    EXPECT_EQ(scene.Plan(), "D:" + kPhoto + "d\nA:" + kPhoto + "e\nD:" + kPhoto + "s\n");
}
