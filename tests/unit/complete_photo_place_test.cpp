// SPDX-License-Identifier: GPL-2.0-or-later
//
// Where the photo share lies by the rules `complete`, and what follows from it: which paths are its, and the names of albums.
#include <gtest/gtest.h>

#include <filesystem>

#include "catalogue/shares.h"
#include "daemon/path_rules.h"
#include "daemon/queue_commands.h"
#include "daemon/queue_line.h"
#include "daemon/queue_touch.h"
#include "photo/album_path.h"
#include "tests/unit/complete_fixture.h"
#include "tests/unit/photo_catalogue.h"

namespace fs = std::filesystem;

namespace {

class PhotoPlace : public CompleteFixture {
protected:
    PhotoPlace() {
        supportphoto = 1;
        fs::remove_all(kElsewhere);
    }
    ~PhotoPlace() override {
        ShareIs("/volume1/photo");
        supportphoto = 0;
    }

    static void ShareIs(const std::string &target) {
        fs::remove(kPhotoShareLink);
        fs::create_symlink(target, kPhotoShareLink);
        PhotoShareForget();
    }

    static constexpr char kElsewhere[] = "/volume1/data";
};

std::string Target() {
    char target[kSharePathSize];
    return ShareTargetGet(kPhotoShareLink, target) ? target : "none";
}

void Do(const std::string &line) {
    QueueRequest request;
    ASSERT_TRUE(QueueLineParse(line, request)) << line;
    InRun([&] {
        PhotoShareForget();
        QueueRequestExecute(request);
    });
}

std::string Pictures() {
    return PhotoQuery("select path as x from photo_image order by path");
}

} // namespace

TEST_F(PhotoPlace, IsWhatTheLinkLeadsTo) {
    ShareIs("/volume1/data/pictures/family/");
    EXPECT_EQ(Target(), "/volume1/data/pictures/family");
    for (const char *path : {"/volume1/data/pictures/family", "/volume1/data/pictures/family/",
                             "/volume1/data/pictures/family/Trips/a.jpg"})
        EXPECT_TRUE(IsPhotoPath(path)) << path;
    for (const char *path : {"/volume1/data/pictures/family2/a.jpg", "/volume1/data/pictures",
                             "/volume1/photo/a.jpg", "/volume1/data/pictures/Family/a.jpg", ""})
        EXPECT_FALSE(IsPhotoPath(path)) << path;
    EXPECT_STREQ(AlbumNameOf("/volume1/data/pictures/family/Trips/2009"), "Trips/2009");
    EXPECT_STREQ(AlbumNameOf("/volume1/data/pictures/family"), "");
    EXPECT_STREQ(AlbumNameOf("/volume1/music/A long name of a folder/Trips"), "");
    EXPECT_EQ(PhotoShareLevelGet("/volume1/data/pictures/family/Trips"), kAlbumTop);
    EXPECT_EQ(PhotoShareLevelGet(AlbumPathOf("/volume1/data/pictures/family/Trips//").c_str()), kAlbumTop);
    EXPECT_TRUE(IsPhotoShareRoot("/volume1/data/pictures/family"));
    EXPECT_FALSE(IsPhotoShareRoot("/volume1/data/pictures/FAMILY"));
    EXPECT_TRUE(MayHoldPhotoPaths("/volume1/data/"));
    EXPECT_TRUE(MayHoldPhotoPaths("/volume1/data/pictures/family/a"));
    EXPECT_FALSE(MayHoldPhotoPaths("/volume1/photo"));
    RulesSet("appliance");
    EXPECT_TRUE(IsPhotoPath("/volume1/photo/a.jpg"));
    EXPECT_FALSE(IsPhotoPath("/volume1/data/pictures/family"));
    EXPECT_EQ(PhotoSharePathLength(), 14U);
}

TEST_F(PhotoPlace, IsFoundBehindFurtherLinks) {
    fs::create_directories("/volume1/data/real");
    fs::create_directory_symlink("real/", "/volume1/data/second");
    fs::create_directory_symlink("/volume1/data/second", "/volume1/data/first");
    ShareIs("../../volume1/data/first");
    EXPECT_EQ(Target(), "/volume1/data/real");
    ShareIs("/volume1/data/away");
    EXPECT_EQ(Target(), "/volume1/data/away") << "what is not there has its name";
    fs::create_symlink("circle", "/volume1/data/circle");
    ShareIs("/volume1/data/circle");
    EXPECT_EQ(Target(), "/volume1/data/circle");
    RulesSet("appliance");
    ShareIs("/volume1/data/first/");
    EXPECT_EQ(Target(), "/volume1/data/first");
}

TEST_F(PhotoPlace, WithoutALinkIsTheFixedOne) {
    fs::remove(kPhotoShareLink);
    PhotoShareForget();
    EXPECT_TRUE(IsPhotoPath("/volume1/photo/a.jpg"));
    EXPECT_STREQ(AlbumNameOf("/volume1/photo/Trips"), "Trips");
}

TEST_F(PhotoPlace, DecidesWhatIsInTheLibrary) {
    ShareIs("/volume1/data/p");
    FileWrite("/volume1/data/p/Trips/2009/a.jpg", "camera A");
    FileWrite("/volume1/data/p2/Trips/b.jpg", "camera B");
    Do("A:/volume1/data");
    Do("A:/volume1/data/p/Trips/");
    EXPECT_EQ(Pictures(), "/volume1/data/p/Trips/2009/a.jpg");
    EXPECT_EQ(Albums(), "Trips|Trips/2009");
    Do("D:/volume1/data/p2/Trips");
    fs::remove_all("/volume1/data/p/Trips/2009");
    Do("D:/volume1/data/p/Trips/2009/");
    EXPECT_EQ(Albums(), "Trips");
    EXPECT_EQ(Pictures(), "");
}

TEST_F(PhotoPlace, IsLeftByWhatMovesOutAndEnteredByWhatMovesIn) {
    ShareIs("/volume1/data/p");
    FileWrite("/volume1/data/p/Trips/2009/a.jpg", "camera A");
    FileWrite("/volume1/data/p/b.jpg", "camera B");
    Do("A:/volume1/data/p/Trips");
    Do("a:/volume1/data/p/b.jpg");
    EXPECT_EQ(Pictures(), "/volume1/data/p/Trips/2009/a.jpg|/volume1/data/p/b.jpg");
    fs::rename("/volume1/data/p/Trips", "/volume1/data/Trips");
    Do("N:/volume1/data/Trips:/volume1/data/p/Trips");
    fs::rename("/volume1/data/p/b.jpg", "/volume1/data/b.jpg");
    Do("N:/volume1/data/b.jpg:/volume1/data/p/b.jpg");
    EXPECT_EQ(Pictures(), "");
    EXPECT_EQ(Albums(), "");
    EXPECT_EQ(MediaPaths("photo"), (Texts{"/volume1/data/Trips/2009/a.jpg", "/volume1/data/b.jpg"}));
    fs::rename("/volume1/data/Trips", "/volume1/data/p/Other");
    Do("N:/volume1/data/p/Other:/volume1/data/Trips");
    EXPECT_EQ(Pictures(), "/volume1/data/p/Other/2009/a.jpg");
    EXPECT_EQ(Albums(), "Other|Other/2009");
}

TEST_F(PhotoPlace, IsBroughtInStepInBothCatalogues) {
    FileWrite("/volume1/photo/A/a.jpg", "camera A");
    FileWrite("/volume1/photo/A/b.jpg", "camera B");
    for (const char *line : {"R:photo", "R:all"}) {
        FileWrite("/volume1/photo/A/b.jpg", "camera B");
        Do(line);
        EXPECT_EQ(Pictures(), "/volume1/photo/A/a.jpg|/volume1/photo/A/b.jpg") << line;
        EXPECT_EQ(Albums(), "A") << line;
        fs::remove("/volume1/photo/A/b.jpg");
        Do(line);
        EXPECT_EQ(Pictures(), "/volume1/photo/A/a.jpg") << line;
        EXPECT_EQ(MediaPaths("photo"), Texts{"/volume1/photo/A/a.jpg"}) << line;
    }
    QueueRequest request;
    ASSERT_TRUE(QueueLineParse("R:all", request));
    EXPECT_TRUE(QueueCataloguesOf(request).Has(Catalogue::photo));
    RulesSet("appliance");
    EXPECT_FALSE(QueueCataloguesOf(request).Has(Catalogue::photo));
}
