// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/walker.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include "catalogue/features.h"
#include "daemon/index.h"
#include "platform/handle.h"
#include "platform/limits.h"
#include "platform/veluindex.h"
#include "tests/unit/failing_readdir.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace fs = std::filesystem;

namespace {

using Texts = std::vector<std::string>;

// The limit with which so many more descriptors can be had.
rlim_t LimitForMore(size_t descriptors) {
    std::vector<FdHandle> more;
    while (more.size() < descriptors)
        more.emplace_back(open("/dev/null", O_RDONLY));
    return static_cast<rlim_t>(more.back().get()) + 1;
}

class WalkerTest : public testing::Test {
protected:
    WalkerTest() {
        SandboxReset();
        supportphoto = 0;
        LogTake();
    }
    ~WalkerTest() override { supportphoto = 0; }
};

} // namespace

TEST_F(WalkerTest, BadCallsAreLoggedAndFail) {
    EXPECT_EQ(IndexDirWalk(nullptr, kIndexAdd, kWalkMedia), -1);
    EXPECT_EQ(IndexDirWalk(nullptr, kIndexRemove, kWalkMedia), -1);
    EXPECT_EQ(IndexDirWalk(nullptr, kIndexUpdate, kWalkPhotoLibrary), -1);
    EXPECT_EQ(IndexDirWalk("/volume1/music", 0, kWalkMedia), -1);
    EXPECT_EQ(IndexDirWalk("/volume1/music", 4, kWalkMedia), -1);
    EXPECT_EQ(IndexDirWalk("/volume1/music", 6, kWalkMedia), -1);
    EXPECT_EQ(LogTakeTexts(), Texts(6, "index.c# Bad parameter."));
}

TEST_F(WalkerTest, ReindexKnowsThreeMasks) {
    EXPECT_EQ(IndexDirWalk(nullptr, kIndexReindex, kWalkPhotoLibrary), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"index.c# index type must be VELUINDEX_MEDIA"});
}

TEST_F(WalkerTest, AddsEveryFileAndDirectoryOfATree) {
    FileWrite("/volume1/music/a.pcm", "x");
    FileWrite("/volume1/music/A/b.pcm", "x");
    FileWrite("/volume1/music/A/B/c.srt", "x");
    FileWrite("/volume1/music/A/B/c.txt", "x");
    EXPECT_EQ(IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia), 0);
    EXPECT_EQ(MediaPaths("music"), (Texts{"/volume1/music/A/b.pcm", "/volume1/music/a.pcm"}));
    EXPECT_EQ(MediaPaths("video"), Texts{"/volume1/music/A/B/c.srt"});
    EXPECT_EQ(MediaPaths("directory"), (Texts{"/volume1/music", "/volume1/music/A", "/volume1/music/A/B"}));
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(WalkerTest, ASlashAtTheEndOfTheTreeIsNotDoubled) {
    FileWrite("/volume1/music/a.pcm", "x");
    IndexDirWalk("/volume1/music//", kIndexAdd, kWalkMedia);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/a.pcm"});
    EXPECT_EQ(MediaPaths("directory"), Texts{"/volume1/music"});
}

TEST_F(WalkerTest, ASingleFileIsAddedWithoutItsDirectory) {
    FileWrite("/volume1/music/A/b.pcm", "x");
    EXPECT_EQ(IndexDirWalk("/volume1/music/A/b.pcm", kIndexAdd, kWalkMedia), 0);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/A/b.pcm"});
    EXPECT_TRUE(MediaPaths("directory").empty());
}

TEST_F(WalkerTest, ATreeThatIsNotThereIsLogged) {
    EXPECT_EQ(IndexDirWalk("/volume1/music/none", kIndexAdd, kWalkMedia), 0);
    EXPECT_EQ(LogTakeTexts(), Texts{"index.c# Failed to open directory /volume1/music/none "});
}

TEST_F(WalkerTest, ADirectoryWhoseListingBreaksOffIsLogged) {
    FileWrite("/volume1/music/A/a.pcm", "x");
    FileWrite("/volume1/music/B/b.pcm", "x");
    ReaddirFailAt("a.pcm", EIO);
    EXPECT_EQ(IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia), 0);
    ReaddirFailAt("", 0);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/B/b.pcm"});
    EXPECT_EQ(LogTakeTexts(), Texts{"index.c# Failed to open directory /volume1/music/A "});
}

TEST_F(WalkerTest, SkipsRecycleBinsOfSharesAndAttributeDirectories) {
    FileWrite("/volume1/music/#recycle/a.pcm", "x");
    FileWrite("/volume1/music/#recycle/A/b.pcm", "x");
    FileWrite("/volume1/music/A/#recycle/c.pcm", "x");
    FileWrite("/volume1/music/A/@eaDir/d.pcm", "x");
    FileWrite("/volume1/music/@eaDir/e.pcm", "x");
    IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/A/#recycle/c.pcm"});
    IndexDirWalk("/volume1/music/#recycle/A", kIndexAdd, kWalkMedia);
    EXPECT_EQ(MediaPaths("music").size(), 1u);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(WalkerTest, FollowsLinksButNotIntoAnAncestor) {
    FileWrite("/volume1/video/real/a.pcm", "x");
    FileWrite("/volume1/music/A/b.pcm", "x");
    fs::create_directory_symlink("/volume1/video/real", "/volume1/music/linked");
    fs::create_directory_symlink("/volume1/music", "/volume1/music/A/up");
    fs::create_directory_symlink(".", "/volume1/music/A/self");
    fs::create_symlink("/volume1/music/A/b.pcm", "/volume1/music/c.pcm");
    fs::create_symlink("/nowhere", "/volume1/music/dangling.pcm");
    IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
    EXPECT_EQ(MediaPaths("music"),
              (Texts{"/volume1/music/A/b.pcm", "/volume1/music/c.pcm", "/volume1/music/linked/a.pcm"}));
}

TEST_F(WalkerTest, LinksThatPointAtEachOtherEnd) {
    fs::create_directories("/volume1/music/x");
    fs::create_directories("/volume1/music/y");
    fs::create_directory_symlink("/volume1/music/y", "/volume1/music/x/to_y");
    fs::create_directory_symlink("/volume1/music/x", "/volume1/music/y/to_x");
    IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
    EXPECT_EQ(MediaPaths("directory"), (Texts{"/volume1/music", "/volume1/music/x", "/volume1/music/x/to_y",
                                              "/volume1/music/y", "/volume1/music/y/to_x"}));
}

TEST_F(WalkerTest, ADirectoryThatLinksReachAtSeveralPlacesHasRowsAtEach) {
    FileWrite("/volume1/video/common/a.pcm", "x");
    for (const char *name : {"x", "y"}) {
        fs::create_directories(std::string("/volume1/video/") + name);
        fs::create_directory_symlink("/volume1/video/common",
                                     std::string("/volume1/video/") + name + "/common");
        fs::create_directory_symlink(std::string("/volume1/video/") + name,
                                     std::string("/volume1/music/") + name);
    }
    IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
    const Texts both = {"/volume1/music/x/common/a.pcm", "/volume1/music/y/common/a.pcm"};
    EXPECT_EQ(MediaPaths("music"), both);
    EXPECT_EQ(IndexDirWalk(nullptr, kIndexReindex, kWalkMusicShare), 0);
    EXPECT_EQ(MediaPaths("music"), both);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(WalkerTest, VisitsOfADirectoryThatALinkHasLedIntoBeforeAreCounted) {
    FileWrite("/volume1/video/common/a.pcm", "x");
    fs::create_directories("/volume1/video/collection");
    fs::create_directory_symlink("/volume1/video/collection", "/volume1/music/collection");
    size_t links = 0;
    for (; links < 1 + kWalkEnteredAgainMax; ++links)
        fs::create_directory_symlink("/volume1/video/common",
                                     "/volume1/video/collection/" + std::to_string(links));
    const auto found = [] {
        VELUIndexRunBegin();
        IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
        VELUIndexRunEnd();
        return MediaPaths("music").size();
    };
    EXPECT_EQ(found(), links);
    fs::create_directory_symlink("/volume1/video/common", "/volume1/video/collection/more");
    IndexDirWalk("/volume1/music", kIndexRemove, kWalkMedia);
    EXPECT_EQ(found(), links) << "one place more is one too many";
}

// In every order there is, eight directories would be more than a hundred thousand.
TEST_F(WalkerTest, DirectoriesFullOfLinksToOneAnotherEnd) {
    constexpr int kDirectories = 8;
    const auto name = [](int i) { return "/volume1/music/d" + std::to_string(i); };
    for (int i = 0; i < kDirectories; ++i)
        fs::create_directory(name(i));
    for (int i = 0; i < kDirectories; ++i) {
        for (int j = 0; j < kDirectories; ++j) {
            if (i != j)
                fs::create_directory_symlink(name(j), name(i) + "/to" + std::to_string(j));
        }
    }
    VELUIndexRunBegin();
    IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
    VELUIndexRunEnd();
    // The share, its directories, what each links to, each of them once from below a link, and such visits again.
    constexpr size_t kMost =
        1 + kDirectories + kDirectories * (kDirectories - 1) + kDirectories + kWalkEnteredAgainMax;
    EXPECT_LE(MediaPaths("directory").size(), kMost);
    EXPECT_GE(MediaPaths("directory").size(), kMost - kDirectories);
}

TEST_F(WalkerTest, TheKernelsTreesAreLeftOut) {
    fs::create_directory_symlink("/proc", "/volume1/music/proc");
    FileWrite("/volume1/music/a.pcm", "x");
    IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
    EXPECT_EQ(MediaPaths("directory"), Texts{"/volume1/music"});
    EXPECT_EQ(MediaPaths("music").size(), 1u);
}

TEST_F(WalkerTest, AStartThatDoesNotFitIsNotCutToAnother) {
    FileWrite("/volume1/music/a.pcm", "x");
    const std::string path = "/volume1/music" + std::string(4085, '/') + "nothere";
    IndexDirWalk(path.c_str(), kIndexAdd, kWalkMedia);
    EXPECT_TRUE(MediaPaths("music").empty());
    EXPECT_EQ(LogTakeTexts(), Texts{"index.c# Failed to open directory " + path + " "});
}

TEST_F(WalkerTest, OtherKindsOfEntriesAreLeftOut) {
    FileWrite("/volume1/music/a.pcm", "x");
    ASSERT_EQ(mkfifo("/volume1/music/pipe.pcm", 0600), 0);
    IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/a.pcm"});
}

// Levels that stay open cost a descriptor each, those below them none.
TEST_F(WalkerTest, LevelsStayOpenUpToABound) {
    const auto directories_found = [](size_t levels, size_t descriptors) {
        SandboxReset();
        std::string path = "/volume1/music";
        for (size_t level = 1; level < levels; ++level)
            path += "/d";
        fs::create_directories(path);
        FileWrite("/volume1/video/x.srt", "x");
        VELUIndexRunBegin();
        IndexFileAdd("/volume1/video/x.srt", kIndexAdd);
        VELUIndexRunFlush(); // the catalogue has all its files open now
        rlimit usual = {};
        getrlimit(RLIMIT_NOFILE, &usual);
        const rlimit tight = {LimitForMore(descriptors), usual.rlim_max};
        setrlimit(RLIMIT_NOFILE, &tight);
        IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
        setrlimit(RLIMIT_NOFILE, &usual);
        VELUIndexRunEnd();
        return MediaPaths("directory").size();
    };
    for (const size_t levels : {kWalkOpenLevels, kWalkOpenLevels + 1, 3 * kWalkOpenLevels})
        EXPECT_EQ(directories_found(levels, kWalkOpenLevels), levels);
    EXPECT_EQ(LogTakeTexts(), Texts{});
    EXPECT_LT(directories_found(kWalkOpenLevels, kWalkOpenLevels - 1), kWalkOpenLevels);
    EXPECT_FALSE(LogTake().empty());
}

// Far below the levels that stay open, each with entries before and behind the subdirectory.
TEST_F(WalkerTest, DeepTreesAreReadWholeAndWithFewDescriptors) {
    constexpr int kDepth = 120;
    std::string path = "/volume1/music";
    size_t files = 0;
    for (int level = 0; level < kDepth; ++level) {
        for (const char *name : {"a", "b", "c", "m", "x", "y", "z"}) {
            FileWrite(path + "/" + name + ".pcm", "x");
            ++files;
        }
        FileWrite(path + "/side/s.pcm", "x");
        ++files;
        path += "/n";
        fs::create_directory(path);
    }
    VELUIndexRunBegin();
    IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
    VELUIndexRunEnd();
    EXPECT_EQ(MediaPaths("music").size(), files);
    EXPECT_EQ(MediaPaths("directory").size(), 1u + 2 * kDepth);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(WalkerTest, APathLongerThanTheBufferIsCutAndEnds) {
    std::string path = "/volume1/music";
    const std::string name(250, 'n');
    fs::path previous = fs::current_path();
    fs::current_path(path);
    for (int level = 0; level < 20; ++level) { // 5,000 bytes of path
        fs::create_directory(name);
        fs::current_path(name);
    }
    fs::current_path(previous);
    FileWrite("/volume1/music/a.pcm", "x");
    IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/a.pcm"});
    EXPECT_EQ(MediaPaths("directory").size(), 1u + (4095 - 14) / 251);
}

TEST_F(WalkerTest, RemoveReadsNothingFromDisk) {
    FileWrite("/volume1/music/A/a.pcm", "x");
    FileWrite("/volume1/music/AB/b.pcm", "x");
    IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
    EXPECT_EQ(IndexDirWalk("/volume1/music/A", kIndexRemove, kWalkMedia), 0);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/AB/b.pcm"});
    EXPECT_EQ(MediaPaths("directory"), (Texts{"/volume1/music", "/volume1/music/AB"}));
}

TEST_F(WalkerTest, AnUpdateOfThePhotoLibraryDoesNotTouchTheMediaCatalogue) {
    FileWrite("/volume1/photo/a.bmp", "x");
    EXPECT_EQ(IndexDirWalk("/volume1/photo", kIndexUpdate, kWalkPhotoLibrary), 0);
    EXPECT_TRUE(MediaPaths("photo").empty());
    EXPECT_TRUE(MediaPaths("directory").empty());
}

TEST_F(WalkerTest, AFileOfThePhotoShareThatFailedGoesToTheConverter) {
    supportphoto = 1;
    FileWrite("/usr/velu/bin/veluflvconv", "#!/bin/sh\necho \"$@\" >> /tmp/converted\n");
    fs::permissions("/usr/velu/bin/veluflvconv", fs::perms::owner_all);
    fs::remove("/tmp/converted");
    FileWrite("/volume1/photo/clip.mp4", "no video at all");
    FileWrite("/volume1/music/clip.mp4", "no video at all");
    IndexDirWalk("/volume1/photo/clip.mp4", kIndexAdd, kWalkMedia | kWalkPhotoLibrary);
    IndexDirWalk("/volume1/music/clip.mp4", kIndexAdd, kWalkMedia | kWalkPhotoLibrary);
    EXPECT_EQ(FileRead("/tmp/converted"), "-f /volume1/photo/clip.mp4\n");
}

// Which of them comes first is the file system's affair: its converter takes all away, which the listing has told of.
TEST_F(WalkerTest, AFileThatIsGoneAtItsTurnStartsNoConverter) {
    supportphoto = 1;
    FileWrite("/usr/velu/bin/veluflvconv",
              "#!/bin/sh\necho \"$@\" >> /tmp/converted\nrm -f /volume1/photo/*.mkv\n");
    fs::permissions("/usr/velu/bin/veluflvconv", fs::perms::owner_all);
    const auto converted_by = [](int mode, int mask) {
        fs::remove("/tmp/converted");
        for (const char *name : {"a", "b", "c"})
            FileWrite(std::string("/volume1/photo/") + name + ".mkv", "no video");
        IndexDirWalk("/volume1/photo", mode, mask);
        const std::string converted = FileRead("/tmp/converted");
        return std::count(converted.begin(), converted.end(), '\n');
    };
    EXPECT_EQ(converted_by(kIndexAdd, kWalkMedia | kWalkPhotoLibrary), 1);
    EXPECT_EQ(converted_by(kIndexUpdate, kWalkPhotoLibrary), 1);
}

TEST_F(WalkerTest, AShareIsTakenAnew) {
    FileWrite("/volume1/music/a.pcm", "x");
    FileWrite("/volume1/music/gone.pcm", "x");
    FileWrite("/volume1/video/v.srt", "x");
    IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
    IndexDirWalk("/volume1/video", kIndexAdd, kWalkMedia);
    fs::remove("/volume1/music/gone.pcm");
    fs::remove("/volume1/video/v.srt");
    FileWrite("/volume1/music/new.pcm", "x");
    EXPECT_EQ(IndexDirWalk(nullptr, kIndexReindex, kWalkMusicShare), 0);
    EXPECT_EQ(MediaPaths("music"), (Texts{"/volume1/music/a.pcm", "/volume1/music/new.pcm"}));
    EXPECT_EQ(MediaPaths("video"), Texts{"/volume1/video/v.srt"}); // another share
    EXPECT_EQ(IndexDirWalk(nullptr, kIndexReindex, kWalkMedia), 0);
    EXPECT_TRUE(MediaPaths("video").empty());
}

TEST_F(WalkerTest, AShareWithoutItsLinkIsLeftAlone) {
    FileWrite("/volume1/music/a.pcm", "x");
    IndexDirWalk("/volume1/music", kIndexAdd, kWalkMedia);
    fs::remove("/var/services/music");
    ShareReindex("/var/services/music");
    EXPECT_EQ(MediaPaths("music").size(), 1u);
    EXPECT_TRUE(LogTake().empty());
}
