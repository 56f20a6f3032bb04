// SPDX-License-Identifier: GPL-2.0-or-later
//
// Covers that are stored once for all media files with the same picture.
#include "platform/index/cover_store.h"

#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <vector>

#include "platform/index/cover_place.h"
#include "platform/index/run_state.h"
#include "tests/unit/failing_link.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace fs = std::filesystem;

namespace {

constexpr char kCovers[] = "/var/lib/velu/covers";
constexpr char kSource[] = "/tmp/picture";

// Larger than what is hashed of it.
std::string Picture(char middle) {
    return std::string(10'000, 'a') + middle + std::string(10'000, 'z');
}

std::string Media(int number) {
    return "/volume1/music/" + std::to_string(number) + ".mp3";
}

std::string PlaceOf(const std::string &media, const char *name = "3_1.jpg") {
    char folder[4096];
    EXPECT_EQ(GetCoverFolder(media.c_str(), folder, sizeof folder), 1);
    return std::string(folder) + '/' + name;
}

ino_t NumberOf(const std::string &path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

// What lies in the cover folder: how many names each file has there.
std::map<ino_t, int> FilesKept() {
    std::map<ino_t, int> files;
    if (fs::exists(kCovers))
        for (const auto &entry : fs::recursive_directory_iterator(kCovers))
            if (entry.is_regular_file())
                ++files[NumberOf(entry.path())];
    return files;
}

bool NothingIsKept() {
    return !fs::exists(kCovers) || fs::is_empty(kCovers);
}

class CoverStoreTest : public testing::Test {
protected:
    CoverStoreTest() {
        SandboxReset();
        fs::remove_all(kCovers);
        LogTake();
    }
    ~CoverStoreTest() override {
        LinkFailAt(0, 0);
        run_state.covers_failed = 0;
        fs::remove_all(kCovers);
    }

    int Store(int number, const std::string &bytes, int format = kCoverJpeg) {
        FileWrite(kSource, bytes);
        const FdHandle file(open(kSource, O_RDONLY | O_CLOEXEC));
        return CoverStore(Media(number).c_str(), {{bytes.size(), file.get()}, format}, &stored);
    }

    // As if nothing was known of the pictures before.
    int StoreAlone(int number, const std::string &bytes, int format = kCoverJpeg) {
        stored = {};
        return Store(number, bytes, format);
    }

    static void Remove(int number) {
        char folder[4096];
        ASSERT_EQ(GetCoverFolder(Media(number).c_str(), folder, sizeof folder), 1);
        CleanOldCover(folder);
    }

    CoverStored stored;
};

} // namespace

TEST_F(CoverStoreTest, ThePictureIsWholeAndForEverybody) {
    ASSERT_EQ(Store(1, Picture('1')), 0);
    EXPECT_EQ(FileRead(PlaceOf(Media(1))), Picture('1'));
    EXPECT_EQ(fs::status(PlaceOf(Media(1))).permissions(), static_cast<fs::perms>(0644));
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(CoverStoreTest, OnePictureIsStoredOnce) {
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(i % 2 == 0 ? Store(i, Picture('1')) : StoreAlone(i, Picture('1')), 0);
    EXPECT_EQ(FilesKept().size(), 1u);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(FileRead(PlaceOf(Media(i))), Picture('1')) << i;
}

TEST_F(CoverStoreTest, WhatMayNotHaveReachedTheDiskIsWrittenAgain) {
    const time_t begin = time(nullptr);
    ASSERT_EQ(StoreAlone(1, Picture('1')), 0);
    const ino_t before = NumberOf(PlaceOf(Media(1)));
    const std::string away = std::string(kCovers) + ".away";
    fs::rename(kCovers, away);
    FileWrite(kCovers, "no folder");
    EXPECT_FALSE(CoversSync());
    EXPECT_GE(run_state.covers_failed, begin);
    fs::remove(kCovers);
    fs::rename(away, kCovers);
    ASSERT_EQ(StoreAlone(2, Picture('1')), 0);
    EXPECT_NE(NumberOf(PlaceOf(Media(2))), before);
    ASSERT_EQ(StoreAlone(1, Picture('1')), 0);
    EXPECT_NE(NumberOf(PlaceOf(Media(1))), before);
    run_state.covers_failed = begin - 1; // some seconds later
    ASSERT_EQ(StoreAlone(2, Picture('1')), 0);
    EXPECT_EQ(NumberOf(PlaceOf(Media(2))), NumberOf(PlaceOf(Media(1)))) << "it is one picture again";
    EXPECT_EQ(FilesKept().size(), 1u);
    EXPECT_TRUE(CoversSync());
}

// A file's time may be ahead of what time() tells: its second may be one that time() has not come to yet.
TEST_F(CoverStoreTest, WhatMayNotHaveReachedTheDiskIsWrittenAgainAtTheTurnOfASecond) {
    timespec now = {};
    const auto wait = [&](auto until) {
        do
            clock_gettime(CLOCK_REALTIME, &now);
        while (!until());
    };
    constexpr long kNearTheEnd = 990'000'000;
    wait([&] { return now.tv_nsec > kNearTheEnd; });
    const time_t second = now.tv_sec;
    ASSERT_EQ(StoreAlone(1, Picture('1')), 0);
    const ino_t before = NumberOf(PlaceOf(Media(1)));
    wait([&] { return now.tv_sec > second; });
    ASSERT_EQ(utimensat(AT_FDCWD, PlaceOf(Media(1)).c_str(), nullptr, 0), 0);
    struct stat status;
    ASSERT_EQ(stat(PlaceOf(Media(1)).c_str(), &status), 0);
    ASSERT_EQ(utimensat(AT_FDCWD, PlaceOf(Media(1)).c_str(), nullptr, 0), 0); // finer, where it was looked at
    const std::string away = std::string(kCovers) + ".away";
    ASSERT_EQ(rename(kCovers, away.c_str()), 0);
    FileWrite(kCovers, "no folder");
    EXPECT_FALSE(CoversSync());
    fs::remove(kCovers);
    fs::rename(away, kCovers);
    ASSERT_EQ(StoreAlone(2, Picture('1')), 0);
    EXPECT_NE(NumberOf(PlaceOf(Media(2))), before);
}

TEST_F(CoverStoreTest, NothingIsLeftBehindTheLast) {
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(Store(i, Picture('1')), 0);
    ASSERT_EQ(StoreAlone(3, Picture('2')), 0);
    Remove(0);
    Remove(2);
    EXPECT_EQ(FileRead(PlaceOf(Media(1))), Picture('1'));
    EXPECT_EQ(FilesKept().size(), 2u);
    Remove(1);
    EXPECT_EQ(FilesKept().size(), 1u);
    Remove(3);
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CoverStoreTest, PicturesWithTheSameEndsAreNotTheSame) {
    ASSERT_EQ(StoreAlone(1, Picture('1')), 0);
    ASSERT_EQ(StoreAlone(2, Picture('2')), 0);
    ASSERT_EQ(StoreAlone(3, Picture('2')), 0);
    EXPECT_EQ(FileRead(PlaceOf(Media(1))), Picture('1'));
    EXPECT_EQ(FileRead(PlaceOf(Media(2))), Picture('2'));
    EXPECT_EQ(NumberOf(PlaceOf(Media(2))), NumberOf(PlaceOf(Media(3))))
        << "the last one is the next candidate";
    for (int i = 1; i <= 3; ++i)
        Remove(i);
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CoverStoreTest, SmallPicturesToo) {
    for (const size_t size : {1u, 100u, 8192u, 8193u, 16384u}) {
        ASSERT_EQ(StoreAlone(1, std::string(size, 'x')), 0);
        ASSERT_EQ(StoreAlone(2, std::string(size, 'x')), 0);
        EXPECT_EQ(FileRead(PlaceOf(Media(2))), std::string(size, 'x'));
        EXPECT_EQ(FilesKept().size(), 1u) << size;
    }
}

TEST_F(CoverStoreTest, AReplacedPictureLeavesNothing) {
    ASSERT_EQ(StoreAlone(1, Picture('1')), 0);
    ASSERT_EQ(StoreAlone(2, Picture('1')), 0);
    ASSERT_EQ(StoreAlone(1, Picture('2')), 0);
    EXPECT_EQ(FileRead(PlaceOf(Media(1))), Picture('2'));
    EXPECT_EQ(FileRead(PlaceOf(Media(2))), Picture('1')) << "whose picture is its own affair";
    ASSERT_EQ(StoreAlone(2, Picture('2')), 0);
    EXPECT_EQ(FilesKept().size(), 1u);
    ASSERT_EQ(StoreAlone(1, Picture('3'), kCoverPng), 0);
    EXPECT_FALSE(fs::exists(PlaceOf(Media(1))));
    EXPECT_EQ(FileRead(PlaceOf(Media(1), "3_1.png")), Picture('3'));
    Remove(1);
    Remove(2);
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CoverStoreTest, WhatIsThereStaysAsItIs) {
    ASSERT_EQ(StoreAlone(1, Picture('1')), 0);
    const ino_t number = NumberOf(PlaceOf(Media(1)));
    ASSERT_EQ(StoreAlone(1, Picture('1')), 0);
    ASSERT_EQ(Store(1, Picture('1')), 0);
    EXPECT_EQ(NumberOf(PlaceOf(Media(1))), number);
    EXPECT_EQ(FilesKept()[number], 2) << "its name, and that by content";
}

TEST_F(CoverStoreTest, EachFormatHasItsName) {
    const std::map<int, const char *> names = {
        {kCoverJpeg, "3_1.jpg"}, {kCoverPng, "3_1.png"}, {kCoverWebp, "3_1.webp"}, {kCoverGif, "3_1.gif"}};
    for (const auto &[format, name] : names) {
        ASSERT_EQ(StoreAlone(1, Picture('1'), format), 0);
        EXPECT_EQ(FileRead(PlaceOf(Media(1), name)), Picture('1'));
        EXPECT_EQ(FilesKept().size(), 1u);
    }
    Remove(1); // whichever rules hold by then
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CoverStoreTest, WhereFilesHaveOneNameThereAreCopies) {
    for (const int error : {EPERM, EOPNOTSUPP, ENOSYS}) {
        LinkFailAt(1, error);
        for (int i = 0; i < 3; ++i)
            ASSERT_EQ(i == 0 ? StoreAlone(i, Picture('1')) : Store(i, Picture('1')), 0);
        EXPECT_EQ(FilesKept().size(), 3u);
        EXPECT_EQ(FileRead(PlaceOf(Media(2))), Picture('1'));
        ASSERT_EQ(StoreAlone(2, Picture('2')), 0);
        EXPECT_EQ(FileRead(PlaceOf(Media(2))), Picture('2'));
        for (int i = 0; i < 3; ++i)
            Remove(i);
        EXPECT_TRUE(NothingIsKept());
    }
}

TEST_F(CoverStoreTest, WhatCanHaveNoMoreNamesIsCopiedOnce) {
    LinkFailAt(4, EMLINK);
    for (int i = 0; i < 9; ++i)
        ASSERT_EQ(i % 2 == 0 ? StoreAlone(i, Picture('1')) : Store(i, Picture('1')), 0);
    EXPECT_EQ(FilesKept().size(), 3u) << "three covers and a name by content each, the last of which counts";
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(FileRead(PlaceOf(Media(i))), Picture('1'));
    for (int i = 0; i < 9; ++i)
        Remove(i);
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CoverStoreTest, WhatIsRememberedIsNotBelieved) {
    ASSERT_EQ(StoreAlone(1, Picture('1')), 0);
    const std::string path = stored.path;
    fs::remove(path);
    FileWrite(path, Picture('2'));
    ASSERT_EQ(Store(2, Picture('1')), 0);
    EXPECT_EQ(FileRead(PlaceOf(Media(2))), Picture('1'));
    fs::remove_all(kCovers);
    ASSERT_EQ(Store(2, Picture('1')), 0);
    EXPECT_EQ(FileRead(PlaceOf(Media(2))), Picture('1'));
}

TEST_F(CoverStoreTest, ANameByContentThatIsALinkIsNotFollowed) {
    ASSERT_EQ(StoreAlone(1, Picture('1')), 0);
    const std::string path = stored.path;
    fs::remove(path);
    FileWrite("/tmp/other", Picture('1'));
    fs::create_symlink("/tmp/other", path);
    ASSERT_EQ(StoreAlone(2, Picture('1')), 0);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(PlaceOf(Media(2)))));
    EXPECT_NE(NumberOf(PlaceOf(Media(2))), NumberOf("/tmp/other"));
}

TEST_F(CoverStoreTest, WhatACrashHasLeftGoes) {
    ASSERT_EQ(StoreAlone(1, Picture('1')), 0);
    FileWrite(PlaceOf(Media(1), ".new"), "half of a pic");
    ASSERT_EQ(StoreAlone(1, Picture('2')), 0);
    EXPECT_EQ(FileRead(PlaceOf(Media(1))), Picture('2'));
    EXPECT_FALSE(fs::exists(PlaceOf(Media(1), ".new")));
    FileWrite(PlaceOf(Media(1), ".new"), "half of a pic");
    Remove(1);
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CoverStoreTest, WhatDoesNotFitOnTheDiskIsNoCover) {
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    ASSERT_EQ(StoreAlone(1, std::string(100, 'x')), 0);
    FileWrite(kSource, Picture('1'));
    const FdHandle file(open(kSource, O_RDONLY | O_CLOEXEC));
    stored = {};
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    const rlimit small = {10'000, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const int result = CoverStore(Media(1).c_str(), {{Picture('1').size(), file.get()}, kCoverJpeg}, &stored);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    EXPECT_EQ(result, -1);
    EXPECT_TRUE(NothingIsKept()) << "neither the half of it, nor the one before";
    const auto lines = LogTake();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].text.find("Failed to store the cover of " + Media(1) + ". (File too large)"),
              std::string::npos);
}

TEST_F(CoverStoreTest, APictureThatEndsBeforeItsEndIsNone) {
    FileWrite(kSource, "short");
    const FdHandle file(open(kSource, O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(CoverStore(Media(1).c_str(), {{100, file.get()}, kCoverJpeg}, &stored), -1);
    EXPECT_TRUE(NothingIsKept());
}

TEST_F(CoverStoreTest, WithoutAPlaceThereIsNoCover) {
    FileWrite(kCovers, "a file");
    EXPECT_EQ(StoreAlone(1, Picture('1')), -1);
    EXPECT_EQ(LogTake().size(), 1u);
    EXPECT_EQ(FileRead(kCovers), "a file");
    fs::remove(kCovers);
}
