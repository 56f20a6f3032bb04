// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_sync.h"

#include <filesystem>

#include "photo_catalogue.h"
#include "platform/media_record.h"

namespace fs = std::filesystem;

namespace {

class PhotoSyncTest : public PhotoLibraryFixture {
protected:
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
        PictureAdd(path);
    fs::rename("/volume1/photo/T_", "/volume1/photo/N");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/N", "/volume1/photo/T_", 1), 0);
    EXPECT_EQ(PhotoField("path"), "/volume1/photo/N/a.jpg|/volume1/photo/N/s/b.jpg|/volume1/photo/T_2/c.jpg|"
                                  "/volume1/photo/Tx/d.jpg");
}

TEST_F(PhotoSyncTest, APictureRenamedOntoAnotherReplacesItsRow) {
    PictureAdd("/volume1/photo/a.jpg");
    PictureAdd("/volume1/photo/b.jpg");
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
    PictureAdd("/volume1/photo/a.jpg");
    fs::rename("/volume1/photo/a.jpg", "/volume1/photo/a.txt");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/a.txt", "/volume1/photo/a.jpg", 0), -1);
    EXPECT_EQ(PhotoField("name"), "");
}

// The rows of siblings, whose names begin with the old one, are not the picture's.
TEST_F(PhotoSyncTest, APictureIsAddedThoughSiblingsOfItsOldNameHaveRows) {
    PictureAdd("/volume1/photo/IMG_2.jpg");
    PictureAdd("/volume1/photo/IMG.jpg");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/IMG.jpg", "/volume1/photo/IMG", 0), 0);
    FileWrite("/volume1/photo/b.jpg", "x");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/b.jpg", "/volume1/photo/IM", 0), 0);
    EXPECT_EQ(PhotoField("name"), "IMG.jpg|IMG_2.jpg|b.jpg");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/b.txt", "/volume1/photo/IMG", 0), 0);
    EXPECT_EQ(PhotoField("name"), "IMG.jpg|IMG_2.jpg|b.jpg");
}

TEST_F(PhotoSyncTest, ANameWithoutADotKeepsTheRowOfThePicture) {
    PictureAdd("/volume1/photo/a.jpg");
    fs::rename("/volume1/photo/a.jpg", "/volume1/photo/a");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/a", "/volume1/photo/a.jpg", 0), 0);
    EXPECT_EQ(PhotoField("path"), "/volume1/photo/a");
}

// A condition has 4096 bytes; one that is cut lacks its quote, so that the database refuses it.
TEST_F(PhotoSyncTest, ARenameWhoseConditionDoesNotFitFailsAndMovesNothing) {
    PictureAdd("/volume1/photo/a.jpg");
    const std::string old_path = "/volume1/photo/" + std::string(4060, 'a');
    EXPECT_EQ(PhotoPathRename("/volume1/photo/b", (old_path + std::string(20, 'a')).c_str(), 1), -1);
    EXPECT_EQ(LogTakeTexts().back(), "photo_index.c# Error occurred, failed to get records.");
    EXPECT_EQ(PhotoField("name"), "a.jpg");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/b", old_path.c_str(), 1), 0);
}

TEST_F(PhotoSyncTest, ARenameThatTheCatalogueRefusesIsLogged) {
    PictureAdd("/volume1/photo/a.jpg");
    PhotoDBExec("create trigger no before update on photo_image begin select raise(abort, 'no'); end");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/b.jpg", "/volume1/photo/a.jpg", 0), -1);
    EXPECT_EQ(LogTakeTexts().back(), "photo_index.c# Failed to rename to new path.");
    EXPECT_EQ(PhotoField("name"), "a.jpg");
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
    PictureAdd("/volume1/photo/D/a.jpg");
    PictureAdd("/volume1/photo/D/s/c.jpg");
    FileWrite("/volume1/photo/D/b.jpg", exif_bytes::PlainJpeg(4, 3));
    PhotoDBExec("update photo_image set updated = '0'");
    const std::vector<std::string> entries = {"a.jpg", "b.jpg"};
    EXPECT_EQ(PhotoDirRefresh("/volume1/photo/D", &entries), 0);
    EXPECT_EQ(PhotoField("name || updated"), "a.jpg1|b.jpg1|c.jpg0");
    EXPECT_EQ(MediaPaths("photo"), Texts{"/volume1/photo/D/b.jpg"}); // only the new one
}

// A picture has its rows in both catalogues, one of which may have been away.
TEST_F(PhotoSyncTest, ARefreshThatIsDoneAgainBringsBackWhatOneCatalogueHasLost) {
    PictureAdd("/volume1/photo/D/a.jpg");
    PictureAdd("/volume1/photo/D/b.jpg");
    PhotoDBExec("update photo_image set title = 'typed', updated = '0'");
    const std::vector<std::string> entries = {"a.jpg"};
    EXPECT_EQ(PhotoDirRefresh("/volume1/photo/D", &entries), 0);
    EXPECT_EQ(MediaPaths("photo"), Texts{});
    EXPECT_EQ(PhotoDirRefresh("/volume1/photo/D", &entries, true), 0);
    EXPECT_EQ(MediaPaths("photo"), Texts{"/volume1/photo/D/a.jpg"});
    EXPECT_EQ(PhotoField("title || updated"), "typed1|typed0");
}

TEST_F(PhotoSyncTest, ARefreshOfAVideoThatHasARowUpdatesItsStatus) {
    FileWrite("/volume1/photo/D/a.mp4", "x");
    FileWrite("/volume1/photo/D/b.mp4", "x");
    MediaInfo video = {};
    snprintf(video.path, sizeof video.path, "/volume1/photo/D/a.mp4");
    ASSERT_EQ(MediaInfoDBSave(kMediaVideo, &video), 0);
    const std::vector<std::string> entries = {"a.mp4"};
    EXPECT_EQ(PhotoDirRefresh("/volume1/photo/D", &entries), 0);
    EXPECT_EQ(Videos("video_desc"), "/volume1/photo/D/a.mp4");
    EXPECT_FALSE(fs::exists("/tmp/converted"));
}

TEST_F(PhotoSyncTest, ANewFileThatIsNotIndexedGoesToTheConverter) {
    FileWrite("/volume1/photo/D/a.", "x");
    FileWrite("/volume1/photo/D/b.txt", "x");
    const std::vector<std::string> entries = {"a.", "b.txt"};
    EXPECT_EQ(PhotoDirRefresh("/volume1/photo/D", &entries), 0);
    EXPECT_EQ(FileRead("/tmp/converted"), "-f /volume1/photo/D/a.\n");
}

// The converter of the first takes all of them away.
TEST_F(PhotoSyncTest, WhatIsGoneAtItsTurnStartsNoConverter) {
    FileWrite("/usr/velu/bin/veluflvconv",
              "#!/bin/sh\necho \"$@\" >>/tmp/converted\nrm -f /volume1/photo/D/*\n");
    const std::vector<std::string> entries = {"a.mkv", "b.mkv"};
    const auto refresh = [&entries] {
        fs::remove("/tmp/converted");
        for (const std::string &entry : entries)
            FileWrite("/volume1/photo/D/" + entry, "x");
        EXPECT_EQ(PhotoDirRefresh("/volume1/photo/D", &entries), 0);
        return FileRead("/tmp/converted");
    };
    EXPECT_EQ(refresh(), "-f /volume1/photo/D/a.mkv\n") << "new files";
    for (const std::string &entry : entries) {
        MediaInfo video = {};
        snprintf(video.path, sizeof video.path, "/volume1/photo/D/%s", entry.c_str());
        ASSERT_EQ(MediaInfoDBSave(kMediaVideo, &video), 0);
    }
    EXPECT_EQ(refresh(), "-f /volume1/photo/D/a.mkv\n") << "known ones";
}
