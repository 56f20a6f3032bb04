// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/own_group.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "platform/handle.h"
#include "platform/index/cover_store.h"
#include "platform/media_record.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"
#include "tests/unit/test_files.h"

namespace fs = std::filesystem;

namespace {

constexpr char kGroups[] = "/etc/group";
constexpr char kDatabase[] = "/var/lib/velu/mediaserver.db";
constexpr char kSong[] = "/volume1/music/song.mp3";

mode_t ModeOf(const std::string &path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

gid_t GroupOf(const std::string &path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_gid : static_cast<gid_t>(-1);
}

// The group that stands in for the real one; where another identity is not to be had, our own.
gid_t SomeGroup() {
    constexpr gid_t kOther = 4242;
    const bool had = setegid(kOther) == 0;
    static_cast<void>(setegid(getgid()) == 0);
    return had ? kOther : getgid();
}

class OwnGroupTest : public testing::Test {
protected:
    OwnGroupTest() {
        SandboxReset();
        fs::remove_all("/var/lib/velu");
        fs::create_directories("/var/lib/velu");
        chmod("/var/lib/velu", 0755);
    }
    ~OwnGroupTest() override {
        FileWrite(kGroups, groups);
        RulesAre("appliance");
        fs::remove("/etc/veluinfo.conf");
        static_cast<void>(setegid(getgid()) == 0);
        chmod("/var/lib/velu", 0755);
        SandboxReset();
    }

    static void RulesAre(const char *rules) {
        FileWrite("/etc/veluinfo.conf", std::string("rules=\"") + rules + "\"\n");
        RuleSetRead();
        OwnGroupTake();
    }

    void GroupMake() const { FileWrite(kGroups, groups + "\nvelu:x:" + std::to_string(group) + ":\n"); }

    static std::string CoverMake() {
        char cover[4096];
        EXPECT_EQ(GetCoverPath(kSong, cover, sizeof cover, 3, 1, kCoverJpeg), 1);
        return fs::path(cover).parent_path();
    }

    static void RowSave() {
        MediaInfo record = {};
        snprintf(record.path, sizeof record.path, "%s", kSong);
        VELUIndexRunBegin();
        EXPECT_EQ(MediaInfoDBSave(kMediaMusic, &record), 0);
        EXPECT_EQ(VELUIndexRunEnd(), 0);
    }

    // Returns where the picture has been stored.
    static std::string PictureStore(const char *media) {
        FileWrite("/tmp/picture", "a picture");
        const FdHandle file(open("/tmp/picture", O_RDONLY | O_CLOEXEC));
        CoverStored stored;
        EXPECT_EQ(CoverStore(media, {{9, file.get()}, kCoverJpeg}, &stored), 0);
        char folder[4096];
        EXPECT_EQ(GetCoverFolder(media, folder, sizeof folder), 1);
        return std::string(folder) + "/3_1.jpg";
    }

    static void ExpectOpen() {
        EXPECT_FALSE(OwnGroupHolds());
        RowSave();
        const std::string covers = CoverMake();
        for (const std::string &path : {std::string("/var/lib/velu"), covers})
            EXPECT_EQ(ModeOf(path), 0755u) << path;
        EXPECT_EQ(ModeOf(kDatabase), 0644u);
    }

    const std::string groups = FileRead(kGroups);
    const gid_t group = SomeGroup();
};

} // namespace

TEST_F(OwnGroupTest, ByTheOtherRulesEverybodyMayRead) {
    GroupMake();
    RulesAre("appliance");
    ExpectOpen();
}

TEST_F(OwnGroupTest, WithoutTheGroupEverybodyMayRead) {
    FileWrite(kGroups, "root:x:0:\nvelux:x:1:\nxvelu:x:2:\n");
    RulesAre("complete");
    ExpectOpen();
}

TEST_F(OwnGroupTest, WithTheGroupItMayReadAndNobodyElse) {
    GroupMake();
    RulesAre("complete");
    EXPECT_TRUE(OwnGroupHolds());
    RowSave();
    const std::string covers = CoverMake();
    for (const std::string &path :
         {std::string("/var/lib/velu"), std::string("/var/lib/velu/covers"), covers}) {
        EXPECT_EQ(ModeOf(path), 0750u) << path;
        EXPECT_EQ(GroupOf(path), group) << path;
    }
    for (const char *beside : {"", "-wal", "-shm"}) {
        EXPECT_EQ(ModeOf(kDatabase + std::string(beside)), 0640u) << beside;
        EXPECT_EQ(GroupOf(kDatabase + std::string(beside)), group) << beside;
    }
}

TEST_F(OwnGroupTest, WhatWasThereBeforeIsClosedWhenItIsOpenedNext) {
    ExpectOpen();
    GroupMake();
    RulesAre("complete");
    RowSave();
    for (const char *beside : {"", "-wal", "-shm"}) {
        EXPECT_EQ(ModeOf(kDatabase + std::string(beside)), 0640u) << beside;
        EXPECT_EQ(GroupOf(kDatabase + std::string(beside)), group) << beside;
    }
    EXPECT_EQ(ModeOf("/var/lib/velu"), 0750u);
    EXPECT_EQ(ModeOf("/var/lib/velu/covers"), 0755u);
}

TEST_F(OwnGroupTest, ByTheOtherRulesWhatIsMadeIsOpenAgainAndWhatIsThereStays) {
    GroupMake();
    RulesAre("complete");
    RowSave();
    CoverMake();
    RulesAre("appliance");
    EXPECT_FALSE(OwnGroupHolds());
    RowSave();
    EXPECT_EQ(ModeOf(kDatabase), 0640u);
    EXPECT_EQ(ModeOf("/var/lib/velu/covers"), 0750u);
    char cover[4096];
    ASSERT_EQ(GetCoverPath("/volume1/music/another.mp3", cover, sizeof cover, 3, 1, kCoverJpeg), 1);
    EXPECT_EQ(ModeOf(fs::path(cover).parent_path()), 0755u);
}

TEST_F(OwnGroupTest, ACoverIsClosedAndSoIsOneThatWasThereWhenItGetsAnotherName) {
    const std::string before = PictureStore("/volume1/music/before.mp3");
    EXPECT_EQ(ModeOf(before), 0644u);
    GroupMake();
    RulesAre("complete");
    const std::string after = PictureStore("/volume1/music/after.mp3");
    for (const std::string &cover : {before, after}) {
        EXPECT_EQ(ModeOf(cover), 0640u);
        EXPECT_EQ(GroupOf(cover), group);
    }
    EXPECT_EQ(ModeOf(fs::path(after).parent_path()), 0750u);
}

TEST_F(OwnGroupTest, LinksAndTheFilesOfOthersStayAsTheyAre) {
    GroupMake();
    RulesAre("complete");
    FileWrite("/tmp/target", "x");
    chmod("/tmp/target", 0644);
    fs::create_symlink("/tmp/target", "/tmp/link");
    OwnGroupGive("/tmp/link");
    EXPECT_EQ(ModeOf("/tmp/target"), 0644u);
    OwnGroupGive("/tmp/target");
    EXPECT_EQ(ModeOf("/tmp/target"), 0640u);
    fs::remove("/tmp/link");
    FileWrite("/tmp/other", "x");
    chmod("/tmp/other", 0644);
    if (chown("/tmp/other", 4242, static_cast<gid_t>(-1)) == 0) {
        OwnGroupGive("/tmp/other");
        EXPECT_EQ(ModeOf("/tmp/other"), 0644u);
    }
}
