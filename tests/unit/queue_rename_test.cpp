// SPDX-License-Identifier: GPL-2.0-or-later
//
// A rename that is carried out again, when something else has come to the old path.
#include "daemon/queue_rename.h"

#include "catalogue/features.h"
#include "tests/unit/catalogue_fixture.h"
#include "tests/unit/test_files.h"

namespace {

const std::string kMusic = "/volume1/music/";
const std::string kPhoto = "/volume1/photo/";

class QueueRename : public CatalogueStore {
protected:
    void SetUp() override {
        SandboxReset();
        CatalogueStore::SetUp();
        supportphoto = supportcinehall = 1;
        for (const char *converter : {"/var/run/velumkthumbd.pid", "/var/run/velumkflvd.pid"})
            std::filesystem::remove(converter);
    }
    void TearDown() override {
        supportphoto = supportcinehall = 0;
        CatalogueStore::TearDown();
        SandboxReset();
    }

    static void Photo(const std::string &sql) { EXPECT_GE(Peer(photo_uri).Exec(sql), 0) << sql; }
};
ON_ALL_ENGINES(QueueRename);

TEST_P(QueueRename, OfADirectoryThatIsThereAgainOnlyTheRowsOfWhatIsGoneMove) {
    for (const char *name : {"old/1.pcm", "old/deep/2.pcm", "older/3.pcm"})
        ASSERT_EQ(Save(0, kMusic + name), 0);
    for (const char *name : {"new/1.pcm", "new/deep/2.pcm", "new/4.pcm", "old/1.pcm"})
        FileWrite(kMusic + name, "x");
    PathRenameAgain((kMusic + "new").c_str(), (kMusic + "old").c_str());
    EXPECT_EQ(Paths("music"),
              "/volume1/music/new/1.pcm|/volume1/music/new/4.pcm|/volume1/music/new/deep/2.pcm|"
              "/volume1/music/old/1.pcm|/volume1/music/older/3.pcm");
}

TEST_P(QueueRename, OfAFileThatIsThereAgainTheRowStays) {
    ASSERT_EQ(Save(0, kMusic + "old.pcm", "its own"), 0);
    FileWrite(kMusic + "old.pcm", "x");
    FileWrite(kMusic + "new.pcm", "x");
    PathRenameAgain((kMusic + "new.pcm").c_str(), (kMusic + "old.pcm").c_str());
    EXPECT_EQ(Paths("music"), "/volume1/music/new.pcm|/volume1/music/old.pcm");
    EXPECT_EQ(Peer().Query("select title as x from music where path like '%old.pcm'"), "its own");
}

TEST_P(QueueRename, WithNothingAtTheOldPathItIsARenameLikeAnyOther) {
    ASSERT_EQ(Save(0, kMusic + "old.pcm"), 0);
    FileWrite(kMusic + "new.pcm", "x");
    PathRenameAgain((kMusic + "new.pcm").c_str(), (kMusic + "old.pcm").c_str());
    EXPECT_EQ(Paths("music"), "/volume1/music/new.pcm");
    std::filesystem::remove(kMusic + "new.pcm");
    PathRenameAgain((kMusic + "newer.pcm").c_str(), (kMusic + "new.pcm").c_str());
    EXPECT_EQ(Paths("music"), "");
}

TEST_P(QueueRename, PicturesFilmsAndAlbumsLikewise) {
    ASSERT_EQ(PhotoInfoDBDirDelete("/none"), 0); // makes the tables
    for (const char *name : {"old/1.jpg", "old/sub/2.jpg"})
        Photo("insert into photo_image (path, name, title) values ('" + kPhoto + name + "', 'x', 'typed')");
    for (const char *name : {"old/1.avi", "old/2.avi"})
        Photo("insert into video_desc (path, title) values ('" + kPhoto + name + "', 'typed')");
    Photo("insert into video_desc (path, title) values ('" + kPhoto + "new/2.avi', '')");
    Photo("insert into video_comment (path, comment) values ('" + kPhoto + "old/2.avi', 'fine')");
    Photo("insert into photo_share values (7, 'old', 'typed', '', 'true', 3, '', 'true', 'false', '1')");
    Photo("insert into photo_share values (8, 'old/sub', 'typed', '', 'true', 4, '', 'true', 'true', '1')");
    for (const char *name :
         {"new/1.jpg", "new/sub/2.jpg", "new/3.jpg", "new/1.avi", "new/2.avi", "old/1.jpg", "old/1.avi"})
        FileWrite(kPhoto + name, "x");
    PathRenameAgain((kPhoto + "new").c_str(), (kPhoto + "old").c_str());
    EXPECT_EQ(PhotoPaths("photo_image"), "/volume1/photo/new/1.jpg|/volume1/photo/new/3.jpg|"
                                         "/volume1/photo/new/sub/2.jpg|/volume1/photo/old/1.jpg");
    Peer peer(photo_uri);
    EXPECT_EQ(peer.Query("select title as x from photo_image where path like '%/old/1.jpg'"), "typed");
    EXPECT_EQ(peer.Query("select path as x from video_desc where title = 'typed' order by path"),
              "/volume1/photo/new/2.avi|/volume1/photo/old/1.avi");
    EXPECT_EQ(peer.Query("select path as x from video_comment"), "/volume1/photo/new/2.avi");
    EXPECT_EQ(peer.Query("select sharename as x from photo_share order by sharename"), "new|new/sub|old");
    EXPECT_EQ(peer.Query("select hits as x from photo_share order by sharename"), "0|4|3")
        << "of those that had them";
    EXPECT_EQ(
        peer.Query("select shareid as x from photo_share where sharename like 'new/sub' or sharename = 'old' "
                   "order by shareid"),
        "7|8");
    // Once more changes nothing.
    PathRenameAgain((kPhoto + "new").c_str(), (kPhoto + "old").c_str());
    EXPECT_EQ(peer.Query("select hits as x from photo_share order by sharename"), "0|4|3");
    EXPECT_EQ(PhotoPaths("photo_image"), "/volume1/photo/new/1.jpg|/volume1/photo/new/3.jpg|"
                                         "/volume1/photo/new/sub/2.jpg|/volume1/photo/old/1.jpg");
}

} // namespace
