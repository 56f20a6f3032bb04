// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which requests have to wait for which.
#include "daemon/queue_touch.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "catalogue/features.h"
#include "catalogue/shares.h"
#include "tests/unit/test_files.h"

namespace {

QueueRequest Request(const std::string &line) {
    QueueRequest request;
    EXPECT_TRUE(QueueLineParse(line, request)) << line;
    return request;
}

class QueueTouch : public testing::Test {
protected:
    QueueTouch() {
        SandboxReset();
        supportphoto = 1;
        LinkMake(kMusicShareLink, "/volume1/music");
        LinkMake(kVideoShareLink, "/volume1/video/");
        LinkMake(kPhotoShareLink, "/volume1/photo");
    }
    ~QueueTouch() override {
        supportphoto = 0;
        SandboxReset();
    }

    static void LinkMake(const char *link, const char *target) {
        std::filesystem::create_directories(std::filesystem::path(link).parent_path());
        std::filesystem::remove(link);
        std::filesystem::create_symlink(target, link);
    }

    static bool Touches(const std::string &waiting, const std::string &line) {
        QueueTouched touched;
        QueueTouchAdd(&touched, Request(waiting));
        return QueueTouches(touched, Request(line));
    }
};

TEST_F(QueueTouch, NothingTouchesNothing) {
    const QueueTouched touched;
    for (const char *line : {"a:/volume1/music/a.mp3", "A:/", "R:all", "T:music", "U:photo", "N:/b:/a"})
        EXPECT_FALSE(QueueTouches(touched, Request(line))) << line;
}

TEST_F(QueueTouch, PathsThatAreEqualContainOrLieUnderEachOther) {
    for (const char *command : {"a", "A", "d", "D"}) {
        const std::string line = std::string(command) + ":/volume1/music/Album";
        EXPECT_TRUE(Touches(line, "a:/volume1/music/Album"));
        EXPECT_TRUE(Touches(line, "d:/volume1/music/Album/song.mp3"));
        EXPECT_TRUE(Touches(line, "A:/volume1/music"));
        EXPECT_TRUE(Touches(line, "D:/volume1"));
        EXPECT_TRUE(Touches(line, "A:/"));
        EXPECT_FALSE(Touches(line, "A:/volume1/music/Album 2"));
        EXPECT_FALSE(Touches(line, "A:/volume1/music/Albu"));
        EXPECT_FALSE(Touches(line, "A:/volume1/video"));
        EXPECT_FALSE(Touches(line, "A:/Album"));
    }
    EXPECT_TRUE(Touches("A:/", "a:/volume1/music/song.mp3"));
}

TEST_F(QueueTouch, SlashesAtTheEndAndDoubleOnesDoNotCount) {
    EXPECT_TRUE(Touches("A:/volume1/music/Album/", "a:/volume1/music/Album"));
    EXPECT_TRUE(Touches("A:/volume1/music/Album//", "a:/volume1/music/Album/song.mp3"));
    EXPECT_TRUE(Touches("A:/volume1/music//Album", "a:/volume1//music/Album/song.mp3"));
    EXPECT_TRUE(Touches("a:/volume1/music/Album", "A:/volume1/music/"));
}

TEST_F(QueueTouch, AnEmptyPathIsNotTheRoot) {
    EXPECT_FALSE(Touches("A:", "a:/volume1/music/song.mp3"));
    EXPECT_FALSE(Touches("a:/volume1/music/song.mp3", "A:"));
}

TEST_F(QueueTouch, BothPathsOfARename) {
    const char *rename = "N:/volume1/music/new:/volume1/music/old";
    for (const char *line :
         {"a:/volume1/music/new/1.mp3", "A:/volume1/music/old", "D:/volume1/music",
          "N:/volume1/music/newer:/volume1/music/new", "N:/volume1/music/old:/volume1/music/older"}) {
        EXPECT_TRUE(Touches(rename, line)) << line;
        EXPECT_TRUE(Touches(line, rename)) << line;
    }
    EXPECT_FALSE(Touches(rename, "N:/volume1/music/a:/volume1/music/b"));
}

TEST_F(QueueTouch, ATableTouchesAllOfItsCatalogueBehindIt) {
    for (const char *table : {"T:music", "T:video", "T:photo", "T:playlist", "T:directory"}) {
        EXPECT_TRUE(Touches(table, "a:/volume1/video/a.avi")) << table;
        EXPECT_TRUE(Touches(table, "R:music")) << table;
        EXPECT_TRUE(Touches(table, "R:photo")) << "which adds files to the media catalogue";
        EXPECT_TRUE(Touches(table, "T:music")) << table;
        EXPECT_FALSE(Touches(table, "T:photo_image")) << table;
        EXPECT_FALSE(Touches(table, "U:photo")) << table;
    }
    for (const char *table :
         {"T:photo_image", "T:video_desc", "T:video_comment", "T:photo_share", "T:photo_access_right"}) {
        EXPECT_TRUE(Touches(table, "a:/volume1/photo/a.jpg")) << table;
        EXPECT_TRUE(Touches(table, "N:/volume1/music/a.jpg:/volume1/photo/a.jpg")) << table;
        EXPECT_TRUE(Touches(table, "A:/volume1")) << table;
        EXPECT_TRUE(Touches(table, "U:photo")) << table;
        EXPECT_TRUE(Touches(table, "R:photo")) << table;
        EXPECT_FALSE(Touches(table, "a:/volume1/music/a.mp3")) << table;
        EXPECT_FALSE(Touches(table, "R:music")) << table;
        EXPECT_FALSE(Touches(table, "T:music")) << table;
    }
    EXPECT_FALSE(Touches("T:nothing", "T:nothing"));
}

// Otherwise what waits would bring rows back into the emptied table.
TEST_F(QueueTouch, ATableWaitsForAllOfItsCatalogue) {
    EXPECT_TRUE(Touches("a:/volume1/music/a.mp3", "T:playlist"));
    EXPECT_TRUE(Touches("A:/", "T:photo_image"));
    EXPECT_TRUE(Touches("R:music", "T:video"));
    EXPECT_TRUE(Touches("U:photo", "T:photo_share"));
    EXPECT_FALSE(Touches("a:/volume1/music/a.mp3", "T:photo_image"));
    EXPECT_FALSE(Touches("U:photo", "T:music"));
    EXPECT_FALSE(Touches("a:/volume1/music/a.mp3", "T:nothing"));
}

TEST_F(QueueTouch, AShareTouchesItsTreeAndAllOfItsCatalogueBehindIt) {
    EXPECT_TRUE(Touches("R:music", "a:/volume1/video/a.avi"));
    EXPECT_TRUE(Touches("R:all", "A:/volume2"));
    EXPECT_FALSE(Touches("R:music", "U:photo"));
    EXPECT_FALSE(Touches("R:music", "T:photo_image"));
    EXPECT_TRUE(Touches("a:/volume1/music/a.mp3", "R:music"));
    EXPECT_TRUE(Touches("a:/volume1/video/a.avi", "R:video")) << "its link ends in a slash";
    EXPECT_TRUE(Touches("a:/volume1/photo/a.jpg", "R:all"));
    EXPECT_TRUE(Touches("a:/volume1/photo/a.jpg", "R:anything"));
    EXPECT_FALSE(Touches("a:/volume1/photo/a.jpg", "R:music")) << "music does not wait for photos";
    EXPECT_FALSE(Touches("a:/volume2/photo/a.jpg", "R:all"));
}

TEST_F(QueueTouch, ThePhotoLibraryTouchesItsCatalogueAndItsTree) {
    for (const char *library : {"R:photo", "U:photo"}) {
        EXPECT_TRUE(Touches(library, "a:/volume1/photo/a.jpg")) << library;
        EXPECT_TRUE(Touches(library, "a:/volume2/photo/a.jpg")) << library;
        EXPECT_TRUE(Touches(library, "T:photo_share")) << library;
        EXPECT_TRUE(Touches(library, "R:all")) << "its tree is the photo share's";
        EXPECT_TRUE(Touches("d:/volume1/photo/a.jpg", library));
        EXPECT_FALSE(Touches(library, "a:/volume1/music/a.mp3")) << library;
        EXPECT_FALSE(Touches(library, "R:music")) << library;
        EXPECT_FALSE(Touches("a:/volume1/music/a.mp3", library));
    }
    EXPECT_FALSE(Touches("U:photo", "T:music"));
    EXPECT_TRUE(Touches("R:photo", "T:music")) << "which adds files to the media catalogue";
    EXPECT_FALSE(Touches("U:music", "a:/volume1/photo/a.jpg"));
    LinkMake(kPhotoShareLink, "/mnt/pictures");
    EXPECT_TRUE(Touches("U:photo", "a:/mnt/pictures/a.jpg"));
    EXPECT_TRUE(Touches("A:/mnt", "R:photo"));
}

TEST_F(QueueTouch, WithoutAPhotoLibraryPhotosAreMediaOnly) {
    EXPECT_TRUE(QueueCataloguesOf(Request("a:/volume1/photo/a.jpg")).Has(Catalogue::photo));
    supportphoto = 0;
    EXPECT_FALSE(QueueCataloguesOf(Request("a:/volume1/photo/a.jpg")).Has(Catalogue::photo));
    EXPECT_FALSE(Touches("T:photo_image", "a:/volume1/photo/a.jpg"));
}

TEST_F(QueueTouch, PathsAreAskedForByThemselves) {
    QueueTouched touched;
    QueueTouchAdd(&touched, Request("U:photo"));
    QueueTouchAdd(&touched, Request("a:/volume1/music/a.mp3"));
    EXPECT_TRUE(QueueTouchesPath(touched, "/volume1/photo/Trips/a.jpg"));
    EXPECT_TRUE(QueueTouchesPath(touched, "/volume1/music"));
    EXPECT_FALSE(QueueTouchesPath(touched, "/volume1/music/b.mp3"));
}

// A million requests that wait cost some tens of megabytes, and a look at each a moment.
// Held against each other one by one, they would take days.
TEST_F(QueueTouch, AMillionRequestsThatWait) {
    constexpr int kRequests = 1'000'000;
    const auto path = [](int number) {
        return "a:/volume1/music/" + std::to_string(number % 1000) + "/" + std::to_string(number) + ".mp3";
    };
    QueueTouched touched;
    for (int i = 0; i < kRequests; ++i)
        QueueTouchAdd(&touched, Request(path(i)));
    for (int i = 0; i < kRequests; ++i)
        ASSERT_FALSE(QueueTouches(touched, Request(path(i + kRequests)))) << i;
    EXPECT_LE(touched.paths.entries.size() * sizeof touched.paths.entries[0], size_t{32} << 20);
    for (int i = 0; i < kRequests; i += 997)
        ASSERT_TRUE(QueueTouches(touched, Request(path(i)))) << i;
}

} // namespace
