// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_sync.h"

#include <filesystem>

#include "photo/photo_index.h"
#include "photo_catalogue.h"

namespace fs = std::filesystem;

namespace {

class PhotoSyncTest : public PhotoLibraryFixture {
protected:
    static void Add(const std::string &path) {
        FileWrite(path, exif_bytes::PlainJpeg(4, 3));
        PhotoIndexAdd(path.c_str(), 1);
    }
    static std::string Videos(const std::string &table) {
        return PhotoQuery("select path as x from " + table + " order by path");
    }
};

} // namespace

TEST_F(PhotoSyncTest, BadParametersAreLogged) {
    const std::vector<std::string> none;
    EXPECT_EQ(PhotoPathRename("", "/a", 0), -1);
    EXPECT_EQ(PhotoPathRename("/a", nullptr, 0), -1);
    EXPECT_EQ(PhotoVideoInfoPathRename(0, "/a", "/b"), -1);
    EXPECT_EQ(PhotoVideoInfoPathRename(3, "/a", "/b"), -1);
    EXPECT_EQ(PhotoVideoInfoPathRename(1, nullptr, "/b"), -1);
    EXPECT_EQ(PhotoDirRefresh("", &none), -1);
    EXPECT_EQ(PhotoDirRefresh("/a", &none), -1);
    EXPECT_EQ(PhotoDirRefresh("/a", nullptr), -1);
    EXPECT_EQ(LogTakeTexts(), Texts(8, "photo_index.c# Bad parameter."));
}

TEST_F(PhotoSyncTest, ARenamedDirectoryTakesItsRowsAndNoSiblings) {
    for (const char *path : {"/volume1/photo/T_/a.jpg", "/volume1/photo/T_/s/b.jpg",
                             "/volume1/photo/T_2/c.jpg", "/volume1/photo/Tx/d.jpg"})
        Add(path);
    fs::rename("/volume1/photo/T_", "/volume1/photo/N");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/N", "/volume1/photo/T_", 1), 0);
    EXPECT_EQ(PhotoField("path"), "/volume1/photo/N/a.jpg|/volume1/photo/N/s/b.jpg|/volume1/photo/T_2/c.jpg|"
                                  "/volume1/photo/Tx/d.jpg");
}

TEST_F(PhotoSyncTest, APictureRenamedOntoAnotherReplacesItsRow) {
    Add("/volume1/photo/a.jpg");
    Add("/volume1/photo/b.jpg");
    const std::string id = PhotoQuery("select id as x from photo_image where name = 'a.jpg'");
    fs::rename("/volume1/photo/a.jpg", "/volume1/photo/b.jpg");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/b.jpg", "/volume1/photo/a.jpg", 0), 0);
    EXPECT_EQ(PhotoField("id || name"), id + "b.jpg");
}

TEST_F(PhotoSyncTest, APictureUnknownByItsOldNameIsAdded) {
    FileWrite("/volume1/photo/b.jpg", "x");
    FileWrite("/volume1/photo/b.txt", "x");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/b.jpg", "/volume1/photo/a.tmp", 0), 0);
    EXPECT_EQ(PhotoPathRename("/volume1/photo/b.txt", "/volume1/photo/c.tmp", 0), 0);
    EXPECT_EQ(PhotoField("name"), "b.jpg");
}

TEST_F(PhotoSyncTest, APictureRenamedToAnotherKindLosesItsRowAndFails) {
    Add("/volume1/photo/a.jpg");
    fs::rename("/volume1/photo/a.jpg", "/volume1/photo/a.txt");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/a.txt", "/volume1/photo/a.jpg", 0), -1);
    EXPECT_EQ(PhotoField("name"), "");
}

TEST_F(PhotoSyncTest, AnUnknownDirectoryIsIndexedAsNew) {
    FileWrite("/volume1/photo/N/a.jpg", "x");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/N", "/volume1/photo/O", 1), 0);
    EXPECT_EQ(PhotoField("path"), "/volume1/photo/N/a.jpg");
    EXPECT_EQ(MediaPaths("photo"), Texts{"/volume1/photo/N/a.jpg"});
}

TEST_F(PhotoSyncTest, VideoTablesFollowARename) {
    for (const char *table : {"video_desc", "video_comment"})
        for (const char *path :
             {"/volume1/photo/T_/a.mp4", "/volume1/photo/T_/o''b.mp4", "/volume1/photo/Tx/c.mp4"})
            PhotoDBExec(("insert into " + std::string(table) + " (path) values ('" + path + "')").c_str());
    const std::string before = Videos("video_comment");
    EXPECT_EQ(PhotoVideoInfoPathRename(1, "/volume1/photo/N", "/volume1/photo/T_"), 0);
    EXPECT_EQ(Videos("video_desc"),
              "/volume1/photo/N/a.mp4|/volume1/photo/N/o'b.mp4|/volume1/photo/Tx/c.mp4");
    EXPECT_EQ(Videos("video_comment"), before);
    EXPECT_EQ(PhotoVideoInfoPathRename(2, "/volume1/photo/N", "/volume1/photo/T_"), 0);
    EXPECT_EQ(Videos("video_comment"), Videos("video_desc"));
    EXPECT_EQ(PhotoVideoInfoPathRename(2, "/volume1/photo/N", "/volume1/photo/T_"), -1);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(PhotoSyncTest, VideoTablesTakeTheOldPathAsAMerePrefix) {
    PhotoDBExec("insert into video_desc (path) values ('/volume1/photo/Trips2/a.mp4')");
    EXPECT_EQ(PhotoVideoInfoPathRename(1, "/volume1/photo/N", "/volume1/photo/Trips"), 0);
    EXPECT_EQ(Videos("video_desc"), "/volume1/photo/N2/a.mp4");
}

TEST_F(PhotoSyncTest, AVideoRenamedOntoAnotherIsLogged) {
    PhotoDBExec("insert into video_desc (path) values ('/a.mp4')");
    PhotoDBExec("insert into video_desc (path) values ('/b.mp4')");
    EXPECT_EQ(PhotoVideoInfoPathRename(1, "/b.mp4", "/a.mp4"), -1);
    const std::string text = LogTakeTexts().back();
    EXPECT_EQ(text.find("photo_index.c# Failed to exec [Update video_desc set path = '/b.mp4' where path = "
                        "'/a.mp4'] ("),
              0U)
        << text;
}

TEST_F(PhotoSyncTest, ARefreshUpdatesWhatHasRowsAndAddsTheRest) {
    Add("/volume1/photo/D/a.jpg");
    Add("/volume1/photo/D/s/c.jpg");
    FileWrite("/volume1/photo/D/b.jpg", exif_bytes::PlainJpeg(4, 3));
    PhotoDBExec("update photo_image set updated = '0'");
    const std::vector<std::string> entries = {"a.jpg", "b.jpg"};
    EXPECT_EQ(PhotoDirRefresh("/volume1/photo/D", &entries), 0);
    EXPECT_EQ(PhotoField("name || updated"), "a.jpg1|b.jpg1|c.jpg0");
    EXPECT_EQ(MediaPaths("photo"), Texts{"/volume1/photo/D/b.jpg"}); // only the new one
}

TEST_F(PhotoSyncTest, AResyncOfTheShareFollowsTheDisk) {
    for (const char *path :
         {"/volume1/photo/gone.jpg", "/volume1/photo/kept.jpg", "/volume1/photo/D/gone.jpg"})
        Add(path);
    fs::remove("/volume1/photo/gone.jpg");
    fs::remove_all("/volume1/photo/D");
    for (const char *path : {"/volume1/photo/new.jpg", "/volume1/photo/E.x/F/new.jpg",
                             "/volume1/photo/@eaDir/e.jpg", "/volume1/photo/#recycle/r.jpg",
                             "/volume1/photo/.hidden/h.jpg", "/volume1/photo/E.x/#recycle/deep.jpg"})
        FileWrite(path, "x");
    fs::create_directory_symlink("/volume1/photo", "/volume1/photo/E.x/loop");
    const auto before = fs::current_path();
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path"), "/volume1/photo/E.x/#recycle/deep.jpg|/volume1/photo/E.x/F/new.jpg|"
                                  "/volume1/photo/kept.jpg|/volume1/photo/new.jpg");
    EXPECT_EQ(fs::current_path(), before);
}

TEST_F(PhotoSyncTest, AResyncOfATreeRemovesNothing) {
    Add("/volume1/photo/D/gone.jpg");
    fs::remove("/volume1/photo/D/gone.jpg");
    FileWrite("/volume1/photo/D/new.jpg", "x");
    EXPECT_EQ(PhotoLibraryResync("/volume1/photo/D"), 0);
    EXPECT_EQ(PhotoField("name"), "gone.jpg|new.jpg");
    EXPECT_EQ(PhotoLibraryResync("/volume1/photo/#recycle/x"), 0);
}

TEST_F(PhotoSyncTest, AShareThatCannotBeReadLosesNothing) {
    Add("/volume1/photo/a.jpg");
    fs::remove("/var/services/photo");
    EXPECT_EQ(PhotoLibraryResync(nullptr), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"photo_index.c# Failed to read link of /var/services/photo"});
    fs::create_directory_symlink("/volume1/none", "/var/services/photo");
    EXPECT_EQ(PhotoLibraryResync(nullptr), -1);
    EXPECT_EQ(PhotoField("name"), "a.jpg");
}

TEST_F(PhotoSyncTest, MoreDirectoriesThanAPortionAreAllVisitedOnce) {
    VELUIndexRunBegin();
    for (int i = 0; i < 600; ++i)
        FileWrite("/volume1/photo/d" + std::to_string(i) + "/a.jpg", "x");
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    VELUIndexRunEnd();
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image"), "600");
}

TEST_F(PhotoSyncTest, ADeepTreeCostsNoDescriptors) {
    std::string path = "/volume1/photo";
    for (int i = 0; i < 1500; ++i) {
        path += "/d";
        mkdir(path.c_str(), 0755);
    }
    FileWrite(path + "/a.jpg", "x");
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path"), path + "/a.jpg");
}
