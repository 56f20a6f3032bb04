// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/veluindex.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace {

constexpr char kConfig[] = "/etc/veluinfo.conf";
constexpr char kSong[] = "/volume1/music/a.mp3";
// SHA-256 of kSong, by sha256sum.
constexpr char kSongPlace[] = "3b/3b84f65e4c6a1c6839b05666279572a5d77a2d57c5460b871d474b020413b704";
constexpr size_t kPathSize = 4096;

bool Exists(const std::string &path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

mode_t ModeOf(const std::string &path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

void Touch(const std::string &path) {
    std::ofstream(path) << "x";
}

void MakeTree(const std::string &path) {
    ASSERT_EQ(system(("mkdir -p '" + path + "'").c_str()), 0);
}

class CoverPlace : public testing::Test {
protected:
    void SetUp() override {
        char folder[] = "/tmp/cover_place.XXXXXX";
        ASSERT_NE(mkdtemp(folder), nullptr);
        folder_ = folder;
        Configure("coverdir=\"" + folder_ + "/covers\"\n");
    }

    void TearDown() override {
        unlink(kConfig);
        ASSERT_EQ(system(("rm -rf " + folder_).c_str()), 0);
    }

    static void Configure(const std::string &lines) { std::ofstream(kConfig) << lines; }

    std::string SongFolder() const { return folder_ + "/covers/" + kSongPlace; }

    static std::string FolderOf(const char *media) {
        char folder[kPathSize] = "stale";
        const int result = GetCoverFolder(media, folder, sizeof folder);
        EXPECT_EQ(result, *folder == '\0' ? 0 : 1);
        return folder;
    }

    static std::string PathOf(const char *media, int type, int index, int format) {
        char path[kPathSize] = "stale";
        const int result = GetCoverPath(media, path, sizeof path, type, index, format);
        EXPECT_EQ(result, *path == '\0' ? 0 : 1);
        return path;
    }

    // A cover folder with files of these names, made by hand.
    std::string FolderWith(std::initializer_list<const char *> names) const {
        MakeTree(SongFolder());
        for (const char *name : names)
            Touch(SongFolder() + "/" + name);
        return SongFolder();
    }

    std::string folder_;
};

} // namespace

TEST_F(CoverPlace, FolderIsTheHashOfThePath) {
    EXPECT_EQ(FolderOf(kSong), SongFolder());
    EXPECT_NE(FolderOf("/volume1/music/b.mp3"), SongFolder());
    EXPECT_NE(FolderOf("/volume1/music/\xFF.mp3"), FolderOf("/volume1/music/\xFE.mp3")) << "paths are bytes";
}

TEST_F(CoverPlace, FolderIsNotMade) {
    FolderOf(kSong);
    EXPECT_FALSE(Exists(folder_ + "/covers"));
}

TEST_F(CoverPlace, PathIsMadeOfTypeIndexAndFormat) {
    EXPECT_EQ(PathOf(kSong, 3, 1, kCoverJpeg), SongFolder() + "/3_1.jpg");
    EXPECT_EQ(PathOf(kSong, 0, 2, kCoverPng), SongFolder() + "/0_2.png");
    EXPECT_EQ(PathOf(kSong, 20, INT_MAX, kCoverPng), SongFolder() + "/20_2147483647.png");
}

TEST_F(CoverPlace, PathMakesItsFolders) {
    const std::string path = PathOf(kSong, 3, 1, kCoverJpeg);
    EXPECT_EQ(ModeOf(SongFolder()), 0755U);
    Touch(path);
    EXPECT_TRUE(Exists(path));
    EXPECT_EQ(PathOf(kSong, 3, 1, kCoverJpeg), path) << "once more with the folder there";
}

TEST_F(CoverPlace, FoldersHaveTheirModeWhateverTheUmask) {
    for (mode_t mask : {0U, 077U, 0777U}) {
        const mode_t before = umask(mask);
        PathOf(kSong, 3, 1, kCoverJpeg);
        umask(before);
        const std::string group = SongFolder().substr(0, SongFolder().rfind('/'));
        EXPECT_EQ(ModeOf(SongFolder()), 0755U) << mask;
        EXPECT_EQ(ModeOf(group), 0755U) << mask;
        EXPECT_EQ(ModeOf(folder_ + "/covers"), 0755U) << mask;
        ASSERT_EQ(system(("rm -rf " + folder_ + "/covers").c_str()), 0);
    }
}

TEST_F(CoverPlace, FolderThatIsThereKeepsItsMode) {
    ASSERT_EQ(mkdir((folder_ + "/covers").c_str(), 0700), 0);
    PathOf(kSong, 3, 1, kCoverJpeg);
    EXPECT_EQ(ModeOf(folder_ + "/covers"), 0700U);
}

TEST_F(CoverPlace, BadArgumentsGiveNothing) {
    EXPECT_EQ(PathOf(nullptr, 3, 1, kCoverJpeg), "");
    EXPECT_EQ(PathOf("", 3, 1, kCoverJpeg), "");
    EXPECT_EQ(PathOf(kSong, -1, 1, kCoverJpeg), "");
    EXPECT_EQ(PathOf(kSong, 21, 1, kCoverJpeg), "");
    EXPECT_EQ(PathOf(kSong, 3, 0, kCoverJpeg), "");
    EXPECT_EQ(PathOf(kSong, 3, -1, kCoverJpeg), "");
    EXPECT_EQ(PathOf(kSong, 3, 1, 0), "");
    EXPECT_EQ(PathOf(kSong, 3, 1, 3), "");
    EXPECT_EQ(GetCoverPath(kSong, nullptr, kPathSize, 3, 1, kCoverJpeg), 0);
    EXPECT_EQ(FolderOf(nullptr), "");
    EXPECT_EQ(FolderOf(""), "");
    EXPECT_EQ(GetCoverFolder(kSong, nullptr, kPathSize), 0);
    EXPECT_FALSE(Exists(folder_ + "/covers"));
}

TEST_F(CoverPlace, BufferAtTheBoundAndOneByteShort) {
    char out[kPathSize];
    const size_t folder_size = SongFolder().size() + 1;
    EXPECT_EQ(GetCoverFolder(kSong, out, folder_size), 1);
    EXPECT_EQ(GetCoverFolder(kSong, out, folder_size - 1), 0);
    EXPECT_STREQ(out, "");
    const size_t path_size = folder_size + strlen("/3_1.jpg");
    EXPECT_EQ(GetCoverPath(kSong, out, path_size - 1, 3, 1, kCoverJpeg), 0);
    EXPECT_STREQ(out, "");
    EXPECT_FALSE(Exists(folder_ + "/covers")) << "nothing is made for a path that does not fit";
    EXPECT_EQ(GetCoverPath(kSong, out, path_size, 3, 1, kCoverJpeg), 1);
    EXPECT_EQ(GetCoverPath(kSong, out, 0, 3, 1, kCoverJpeg), 0);
    EXPECT_EQ(GetCoverFolder(kSong, out, 0), 0);
}

TEST_F(CoverPlace, FileInTheWayOfAFolder) {
    Touch(folder_ + "/covers");
    EXPECT_EQ(PathOf(kSong, 3, 1, kCoverJpeg), "");
}

TEST_F(CoverPlace, ConfigurationIsReadEachTime) {
    Configure("coverdir=\"/var/elsewhere/\"\n");
    EXPECT_EQ(FolderOf(kSong), std::string("/var/elsewhere/") + kSongPlace);
    const std::string by_default = std::string("/var/lib/velu/covers/") + kSongPlace;
    Configure("mediadb=\"x\"\n");
    EXPECT_EQ(FolderOf(kSong), by_default);
    Configure("coverdir=\"\"\n");
    EXPECT_EQ(FolderOf(kSong), by_default);
    unlink(kConfig);
    EXPECT_EQ(FolderOf(kSong), by_default);
}

TEST_F(CoverPlace, ConfigurationIsReadOnceInARun) {
    Configure("coverdir=\"/var/one\"\n");
    VELUIndexRunBegin();
    EXPECT_EQ(FolderOf(kSong), std::string("/var/one/") + kSongPlace);
    Configure("coverdir=\"/var/other\"\n");
    EXPECT_EQ(FolderOf(kSong), std::string("/var/one/") + kSongPlace);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(FolderOf(kSong), std::string("/var/other/") + kSongPlace);
}

TEST_F(CoverPlace, ConfiguredFolderMustBeAbsolute) {
    Configure("coverdir=\"covers\"\n");
    EXPECT_EQ(FolderOf(kSong), "");
    EXPECT_EQ(PathOf(kSong, 3, 1, kCoverJpeg), "");
}

TEST_F(CoverPlace, CleanRemovesCoversAndTheirFolders) {
    CleanOldCover(FolderWith({"3_1.jpg", "0_1.png", "20_2147483647.jpg", "10_10.png"}).c_str());
    EXPECT_FALSE(Exists(SongFolder()));
    EXPECT_FALSE(Exists(SongFolder().substr(0, SongFolder().rfind('/'))));
    EXPECT_TRUE(Exists(folder_ + "/covers"));
}

TEST_F(CoverPlace, CleanRemovesWhatGetCoverPathNames) {
    const std::string path = PathOf(kSong, 3, 1, kCoverJpeg);
    Touch(path);
    CleanOldCover(FolderOf(kSong).c_str());
    EXPECT_FALSE(Exists(path));
}

TEST_F(CoverPlace, CleanKeepsTheFoldersOfOthers) {
    FolderWith({"3_1.jpg"});
    const std::string sibling = SongFolder().substr(0, SongFolder().rfind('/')) + "/other";
    MakeTree(sibling);
    CleanOldCover(SongFolder().c_str());
    EXPECT_FALSE(Exists(SongFolder()));
    EXPECT_TRUE(Exists(sibling));
}

TEST_F(CoverPlace, CleanLeavesEveryOtherName) {
    const std::initializer_list<const char *> others = {
        "21_1.jpg", "3_0.jpg",  "3_2147483648.jpg", "03_1.jpg", "3_01.jpg", "-0_1.jpg",
        "+3_1.jpg", "3_-1.jpg", "3_1.gif",          "3_1.JPG",  "3_1.jpg~", "3_1",
        "3_.jpg",   "_1.jpg",   "x3_1.jpg",         "3-1.jpg",  "3_1.jpeg", ".3_1.jpg",
        " 3_1.jpg", "3_ 1.jpg", "3_1_1.jpg",        "cover.jpg"};
    FolderWith(others);
    Touch(SongFolder() + "/3_1.jpg");
    CleanOldCover(SongFolder().c_str());
    for (const char *name : others)
        EXPECT_TRUE(Exists(SongFolder() + "/" + name)) << name;
    EXPECT_FALSE(Exists(SongFolder() + "/3_1.jpg"));
}

TEST_F(CoverPlace, CleanLeavesAFolderWithACoversName) {
    FolderWith({});
    MakeTree(SongFolder() + "/3_1.jpg/inside");
    CleanOldCover(SongFolder().c_str());
    EXPECT_TRUE(Exists(SongFolder() + "/3_1.jpg/inside"));
}

TEST_F(CoverPlace, CleanRemovesALinkAndNotItsTarget) {
    FolderWith({});
    const std::string target = folder_ + "/target";
    Touch(target);
    ASSERT_EQ(symlink(target.c_str(), (SongFolder() + "/3_1.jpg").c_str()), 0);
    CleanOldCover(SongFolder().c_str());
    EXPECT_TRUE(Exists(target));
    EXPECT_FALSE(Exists(SongFolder()));
}

TEST_F(CoverPlace, CleanFollowsNoLinkedFolder) {
    const std::string outside = folder_ + "/outside";
    const std::string group = SongFolder().substr(0, SongFolder().rfind('/'));
    MakeTree(group);
    MakeTree(outside);
    Touch(outside + "/3_1.jpg");
    ASSERT_EQ(symlink(outside.c_str(), SongFolder().c_str()), 0);
    CleanOldCover(SongFolder().c_str());
    EXPECT_TRUE(Exists(outside + "/3_1.jpg"));
    EXPECT_TRUE(Exists(SongFolder()));

    ASSERT_EQ(system(("rm -rf " + group).c_str()), 0);
    const std::string hash = SongFolder().substr(group.size());
    MakeTree(outside + hash);
    Touch(outside + hash + "/3_1.jpg");
    ASSERT_EQ(symlink(outside.c_str(), group.c_str()), 0);
    CleanOldCover(SongFolder().c_str());
    EXPECT_TRUE(Exists(outside + hash + "/3_1.jpg"));
}

TEST_F(CoverPlace, CoverDirMayBeALink) {
    MakeTree(folder_ + "/real");
    ASSERT_EQ(symlink((folder_ + "/real").c_str(), (folder_ + "/covers").c_str()), 0);
    const std::string path = PathOf(kSong, 3, 1, kCoverJpeg);
    Touch(path);
    EXPECT_TRUE(Exists(folder_ + "/real/" + kSongPlace + "/3_1.jpg"));
    CleanOldCover(SongFolder().c_str());
    EXPECT_FALSE(Exists(path));
}

TEST_F(CoverPlace, CleanRefusesOtherFolders) {
    const std::string hash = std::string(kSongPlace).substr(3);
    const std::string group = std::string(kSongPlace).substr(0, 2);
    const std::string other_group = group == "00" ? "01" : "00";
    std::string upper = hash;
    for (char &digit : upper)
        digit = static_cast<char>(toupper(digit));
    for (const std::string &place :
         {std::string("photo"), hash, "x/" + hash, other_group + "/" + hash, group + "/" + hash.substr(1),
          group + "/" + hash + "0", group + "/" + upper, group + "x/" + hash}) {
        const std::string cover = folder_ + "/" + place + "/3_1.jpg";
        MakeTree(folder_ + "/" + place);
        Touch(cover);
        CleanOldCover((folder_ + "/" + place).c_str());
        EXPECT_TRUE(Exists(cover)) << place;
    }
}

TEST_F(CoverPlace, CleanWantsAnAbsolutePathWithoutATrailingSlash) {
    const std::string folder = FolderWith({"3_1.jpg"});
    CleanOldCover((folder + "/").c_str());
    ASSERT_EQ(chdir((folder_ + "/covers").c_str()), 0);
    CleanOldCover(kSongPlace);
    CleanOldCover((std::string("./") + kSongPlace).c_str());
    ASSERT_EQ(chdir("/"), 0);
    EXPECT_TRUE(Exists(folder + "/3_1.jpg"));
    CleanOldCover(nullptr);
    CleanOldCover("");
    CleanOldCover("/");
}
