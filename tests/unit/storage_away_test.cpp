// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/storage_away.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "daemon/storage_mounts.h"
#include "platform/limits.h"
#include "platform/path.h"
#include "tests/unit/test_files.h"

namespace fs = std::filesystem;

namespace {

using Texts = std::vector<std::string>;

constexpr char kTree[] = "/volume1/music";

std::string MountLine(const std::string &place, const char *type = "ext4") {
    return "36 25 8:1 / " + place + " rw,noatime shared:1 - " + type + " /dev/sdx rw\n";
}

class StorageAwayTest : public testing::Test {
protected:
    StorageAwayTest() {
        SandboxReset();
        fs::create_directories(kTree);
        for (const char *file : {"/tmp/fstab", "/tmp/mountinfo"})
            FileWrite(file, "");
        fs::remove("/tmp/velu/mounts");
        storage_files = {"/tmp/fstab", "/tmp/mountinfo", "/tmp/velu/mounts"};
    }
    ~StorageAwayTest() override { storage_files = {}; }

    // A catalogue that knows these paths.
    StorageKnows Knows(std::set<std::string> paths) {
        return [paths = std::move(paths)](const std::string &path, bool itself) {
            for (const std::string &known : paths) {
                if (PathIsUnder(known, path) || (itself && known == path))
                    return 1;
            }
            return 0;
        };
    }
    const StorageKnows one = Knows({"/volume1/music/a/1.mp3"});
};

} // namespace

TEST_F(StorageAwayTest, AnEmptyDirectoryIsAwayWhenSomethingWasToBeMounted) {
    EXPECT_EQ(StorageAwayIn(kTree, one), Texts{});
    for (const char *table :
         {"/dev/sdx1 /volume1/music ext4 defaults 0 2\n", "# x\nLABEL=x /volume1/music/ nfs noauto,ro 0 0",
          "\n\t/dev/sdx1\t/volume1\tauto\tdefaults\n", "server:/x /volume1/../volume1/music nfs4 noauto\n"}) {
        FileWrite("/tmp/fstab", table);
        EXPECT_EQ(StorageAwayIn(kTree, one), Texts{kTree}) << table;
        EXPECT_TRUE(StorageIsAway("/volume1/music/a/1.mp3", {kTree}, one));
        EXPECT_EQ(StorageAwayIn(kTree, nullptr), Texts{kTree});
    }
    for (const char *table :
         {"#/dev/sdx1 /volume1/music ext4 defaults 0 2\n", "/dev/sdx1 none swap sw\n",
          "/dev/sdx1 /volume1/musi ext4\n", "/dev/sdx1 / ext4\n", "/volume1/music\n", ""}) {
        FileWrite("/tmp/fstab", table);
        EXPECT_EQ(StorageAwayIn(kTree, one), Texts{}) << table;
        EXPECT_FALSE(StorageIsAway("/volume1/music/a/1.mp3", {kTree}, one));
    }
}

TEST_F(StorageAwayTest, WhatIsMountedIsThere) {
    FileWrite("/tmp/fstab", "/dev/sdx1 /volume1/music ext4\n/dev/sdx2 /volume1 ext4\n");
    FileWrite("/tmp/mountinfo", MountLine("/volume1/music"));
    EXPECT_EQ(StorageAwayIn(kTree, one), Texts{}) << "whatever is with the mount above it";
    FileWrite("/tmp/mountinfo", MountLine("/volume1"));
    EXPECT_EQ(StorageAwayIn(kTree, one), Texts{kTree});
}

TEST_F(StorageAwayTest, AnAutomountIsNotWhatItWaitsFor) {
    FileWrite("/tmp/mountinfo", MountLine("/volume1/music", "autofs"));
    EXPECT_EQ(StorageAwayIn(kTree, one), Texts{kTree});
    FileWrite("/tmp/mountinfo", MountLine("/volume1/music", "autofs") + MountLine("/volume1/music"));
    EXPECT_EQ(StorageAwayIn(kTree, one), Texts{});
}

TEST_F(StorageAwayTest, WhatHoldsSomethingKnownIsThere) {
    FileWrite("/tmp/fstab", "/dev/sdx1 /volume1/music ext4\n");
    FileWrite("/volume1/music/stray.mp3", "x");
    EXPECT_EQ(StorageAwayIn(kTree, one), Texts{kTree});
    EXPECT_EQ(StorageAwayIn(kTree, nullptr), Texts{}) << "without a catalogue it is not empty";
    fs::create_directory("/volume1/music/a");
    EXPECT_EQ(StorageAwayIn(kTree, one), Texts{});
}

TEST_F(StorageAwayTest, WhatTheCatalogueDoesNotKnowIsNotAwayAndWhatCannotBeToldIs) {
    FileWrite("/tmp/fstab", "/dev/sdx1 /volume1/music ext4\n");
    EXPECT_EQ(StorageAwayIn(kTree, Knows({"/volume1/music"})), Texts{});
    FileWrite("/volume1/music/a/1.mp3", "x");
    EXPECT_EQ(StorageAwayIn(kTree, [](const std::string &, bool) { return -1; }), Texts{kTree});
}

TEST_F(StorageAwayTest, PlacesInsideATree) {
    const StorageKnows known =
        Knows({"/volume1/music/usb stick/1.mp3", "/volume1/music/gone/deep/disk/2.mp3"});
    FileWrite("/tmp/fstab",
              "/dev/sdx1 /volume1/music/usb\\040stick ext4\n/dev/sdx2 /volume1/music/gone/deep/disk ext4\n"
              "/dev/sdx3 /volume1/music/other ext4\n");
    fs::create_directories("/volume1/music/usb stick");
    EXPECT_EQ(StorageAwayIn(kTree, known), (Texts{"/volume1/music/gone", "/volume1/music/usb stick"}));
    EXPECT_TRUE(StorageIsAway("/volume1/music/gone", {}, known));
    EXPECT_TRUE(StorageIsAway("/volume1/music/gone/deep/disk/2.mp3", {}, known));
    EXPECT_FALSE(StorageIsAway("/volume1/music/other/3.mp3", {}, known));
    EXPECT_FALSE(StorageIsAway("/volume1/music/usb", {}, known));
}

TEST_F(StorageAwayTest, LinksOnTheWay) {
    fs::create_directories("/volume1/disk/music");
    fs::create_directory_symlink("/volume1/disk", "/volume1/link");
    FileWrite("/tmp/fstab", "/dev/sdx1 /volume1/disk ext4\n");
    const StorageKnows known = Knows({"/volume1/link/music/1.mp3"});
    EXPECT_EQ(StorageAwayIn("/volume1/link/music", known), Texts{"/volume1/link/music"});
    FileWrite("/tmp/fstab", "/dev/sdx1 /volume1/link/music/usb ext4\n");
    EXPECT_EQ(StorageAwayIn("/volume1/link/music", Knows({"/volume1/link/music/usb/1.mp3"})),
              Texts{"/volume1/link/music/usb"});
}

TEST_F(StorageAwayTest, AShareWhoseTargetIsNoDirectory) {
    EXPECT_EQ(ShareAwayIn("/volume1/none", one), Texts{"/volume1/none"});
    FileWrite("/volume1/file", "x");
    EXPECT_EQ(ShareAwayIn("/volume1/file", one), Texts{"/volume1/file"});
    EXPECT_EQ(ShareAwayIn(kTree, one), Texts{});
    EXPECT_TRUE(StorageIsAway("/volume1/none/a.mp3", {kTree, "/volume1/none"}, one));
    EXPECT_FALSE(StorageIsAway("/volume1/none", {kTree, "/volume1/none"}, one)) << "it is gone itself";
    EXPECT_FALSE(StorageIsAway("/volume1/music/b.mp3", {kTree, "/volume1/none"}, one));
}

// The one mount is there only once the other has been looked into.
TEST_F(StorageAwayTest, AnEmptyDiskThatAnAutomounterMountsIsEmpty) {
    FileWrite("/tmp/mountinfo", MountLine("/volume1", "autofs"));
    EXPECT_EQ(StorageAwayIn(kTree, one), Texts{kTree});
    const StorageKnows looking = [&](const std::string &path, bool itself) {
        FileWrite("/tmp/mountinfo", MountLine("/volume1", "autofs") + MountLine(kTree));
        return one(path, itself);
    };
    EXPECT_EQ(StorageAwayIn(kTree, looking), Texts{});
}

TEST_F(StorageAwayTest, WhatLiesInThePlaceOfStorage) {
    const auto below = [&](const char *path) { return StorageIsBelowAway(path, {kTree}, one); };
    FileWrite("/volume1/music/stray.mp3", "x");
    EXPECT_FALSE(below("/volume1/music/stray.mp3"));
    for (const char *place : {kTree, "/volume1"}) {
        FileWrite("/tmp/fstab", "/dev/sdx1 " + std::string(place) + " ext4\n");
        EXPECT_TRUE(below("/volume1/music/stray.mp3"));
        EXPECT_TRUE(below("/volume1/music/b/c/stray.mp3"));
    }
    EXPECT_FALSE(below("/volume2/other.mp3"));
    EXPECT_FALSE(below("/volume1")) << "above it";
    FileWrite("/tmp/mountinfo", MountLine("/volume1"));
    EXPECT_FALSE(below("/volume1/music/stray.mp3"));
    EXPECT_TRUE(StorageIsMounted("/volume1"));
    EXPECT_TRUE(StorageIsMounted("/volume1/music/.."));
    EXPECT_FALSE(StorageIsMounted(kTree));
}

TEST_F(StorageAwayTest, LinksOfATreeToOtherStorage) {
    const std::string link = "/volume1/music/a link";
    const std::string line = "/volume1/stick /volume1/music /volume1/music/a\\040link\n";
    const StorageKnows known = Knows({link + "/1.mp3", "/volume1/music/x.mp3"});
    fs::create_directories("/volume1/stick/in");
    fs::create_directory_symlink("/volume1/stick/in", link);
    FileWrite("/tmp/mountinfo", MountLine("/volume1/stick") + MountLine("/"));
    EXPECT_TRUE(StorageRemember(kTree, {}, {link, "/volume1/music/a link/none"}));
    EXPECT_EQ(FileRead("/tmp/velu/mounts"), line + line.substr(0, line.size() - 1) + "/none\n");
    EXPECT_TRUE(StorageRemember(kTree, {}, {link}));
    EXPECT_EQ(FileRead("/tmp/velu/mounts"), line);
    EXPECT_EQ(StorageAwayIn(kTree, known), Texts{});
    FileWrite("/tmp/mountinfo", "");
    EXPECT_EQ(StorageAwayIn(kTree, known), Texts{link}) << "an empty directory";
    fs::remove("/volume1/stick/in");
    EXPECT_EQ(StorageAwayIn(kTree, known), Texts{link}) << "nothing there";
    EXPECT_TRUE(StorageIsAway(link + "/1.mp3", {kTree}, known));
    EXPECT_FALSE(StorageIsAway("/volume1/music/x.mp3", {kTree}, known));
    EXPECT_EQ(StorageAwayIn("/volume1/video", known), Texts{});
    EXPECT_TRUE(StorageRemember(kTree, {link}));
    EXPECT_EQ(FileRead("/tmp/velu/mounts"), line) << "what is away stays remembered";
    fs::remove(link);
    EXPECT_EQ(StorageAwayIn(kTree, known), Texts{}) << "the link was removed";
    fs::create_directories("/volume1/elsewhere");
    fs::create_directory_symlink("/volume1/elsewhere", link);
    EXPECT_EQ(StorageAwayIn(kTree, known), Texts{}) << "the link leads elsewhere";
    EXPECT_TRUE(StorageForget(link));
    EXPECT_EQ(FileRead("/tmp/velu/mounts"), "");
}

TEST_F(StorageAwayTest, TheLastGoodWalkIsRemembered) {
    EXPECT_TRUE(StorageRemember(kTree, {}));
    EXPECT_FALSE(fs::exists("/tmp/velu/mounts")) << "nothing to remember";
    FileWrite("/tmp/mountinfo", MountLine("/") + MountLine("/volume1") +
                                    MountLine("/volume1/music/a\\040b\\134c") + MountLine("/volume1/video") +
                                    MountLine("/volume1/music/auto", "autofs"));
    EXPECT_TRUE(StorageRemember(kTree, {}));
    EXPECT_EQ(FileRead("/tmp/velu/mounts"),
              "/volume1 /volume1/music\n/volume1/music/a\\040b\\134c /volume1/music\n");
    const auto written = fs::last_write_time("/tmp/velu/mounts");
    EXPECT_TRUE(StorageRemember(kTree, {}));
    EXPECT_EQ(fs::last_write_time("/tmp/velu/mounts"), written) << "written only when it changes";
    EXPECT_TRUE(StorageRemember("/volume1/video", {}));
    FileWrite("/tmp/mountinfo", "");
    fs::create_directories("/volume1/music/a b\\c");
    EXPECT_EQ(StorageAwayIn(kTree, Knows({"/volume1/music/a b\\c/1.mp3", "/volume1/music/x.mp3"})),
              Texts{"/volume1/music/a b\\c"})
        << "the tree holds that, at least";
    EXPECT_TRUE(StorageRemember(kTree, {"/volume1/music/a b\\c"}));
    EXPECT_EQ(FileRead("/tmp/velu/mounts"), "/volume1 /volume1/music\n/volume1 /volume1/video\n"
                                            "/volume1/music/a\\040b\\134c /volume1/music\n"
                                            "/volume1/video /volume1/video\n");
    EXPECT_TRUE(StorageForget("/volume1/music"));
    EXPECT_TRUE(StorageRemember(kTree, {}));
    EXPECT_EQ(FileRead("/tmp/velu/mounts"), "/volume1 /volume1/video\n/volume1/video /volume1/video\n");
    EXPECT_FALSE(fs::exists("/tmp/velu/mounts.new"));
}

TEST_F(StorageAwayTest, ATableOfAnySizeIsReadToItsBound) {
    std::string table(kMountTableMax - 1, '#');
    table += "\n/dev/sdx1 /volume1/music ext4\n";
    FileWrite("/tmp/fstab", table);
    EXPECT_EQ(StorageAwayIn(kTree, one), Texts{});
    table.erase(0, 4096);
    FileWrite("/tmp/fstab", table);
    EXPECT_EQ(StorageAwayIn(kTree, one), Texts{kTree});
}

TEST_F(StorageAwayTest, DamagedTablesAreNoDanger) {
    for (const std::string &text :
         {std::string("\0\n\0", 3), std::string("a\\"), std::string("a \\1 b"), std::string("-"),
          std::string("1 2 3 4 /x - "), std::string("1 2 3 4 5 -\n- -\n"), std::string(10000, ' '),
          std::string("x /\\057 y\n/\\777 /x")}) {
        FileWrite("/tmp/fstab", text);
        FileWrite("/tmp/mountinfo", text);
        FileWrite("/tmp/velu/mounts", text);
        EXPECT_EQ(StorageAwayIn(kTree, one), Texts{});
    }
}
