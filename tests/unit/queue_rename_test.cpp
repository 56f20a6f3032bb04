// SPDX-License-Identifier: GPL-2.0-or-later
//
// A rename that is carried out again, when something else has come to the old path.
#include "daemon/queue_rename.h"

#include "catalogue/features.h"
#include "daemon/storage_mounts.h"
#include "photo/hand_over_spool.h"
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

// Where both directories have gone on, what belongs to them goes on too. A name with a dot is a directory's here.
TEST_P(QueueRename, AChainOfDirectoriesThatIsDoneAgain) {
    ASSERT_EQ(PhotoInfoDBDirDelete("/none"), 0); // makes the tables
    for (const char *name : {"Trip/1.jpg", "Trip/sub/2.jpg"}) {
        Photo("insert into photo_image (path, name, title) values ('" + kPhoto + name + "', 'x', 'typed')");
        ASSERT_EQ(Save(2, kPhoto + name), 0);
    }
    ASSERT_EQ(MediaInfoDBDirSave((kPhoto + "Trip/sub").c_str()), 0);
    Photo("insert into video_desc (path, title) values ('" + kPhoto + "Trip/1.avi', 'typed')");
    Photo("insert into photo_share values (7, 'Trip', 'typed', '', 'true', 3, '', 'true', 'false', '1')");
    Photo("insert into photo_share values (8, 'Trip/sub', 'typed', '', 'true', 4, '', 'true', 'true', '1')");
    for (const char *name : {"End/1.jpg", "End/sub/2.jpg", "End/1.avi"})
        FileWrite(kPhoto + name, "x");
    PathRenameAgain((kPhoto + "2009.05").c_str(), (kPhoto + "Trip").c_str());
    PathRenameAgain((kPhoto + "End").c_str(), (kPhoto + "2009.05").c_str());
    EXPECT_EQ(PhotoPaths("photo_image"), "/volume1/photo/End/1.jpg|/volume1/photo/End/sub/2.jpg");
    Peer peer(photo_uri);
    EXPECT_EQ(peer.Query("select title as x from photo_image"), "typed|typed");
    EXPECT_EQ(peer.Query("select path as x from video_desc where title = 'typed'"),
              "/volume1/photo/End/1.avi");
    EXPECT_EQ(peer.Query("select sharename as x from photo_share where title = 'typed' order by shareid"),
              "End|End/sub");
    EXPECT_EQ(peer.Query("select shareid as x from photo_share order by shareid"), "7|8");
    EXPECT_EQ(Paths("photo"), "/volume1/photo/End/1.jpg|/volume1/photo/End/sub/2.jpg");
    EXPECT_EQ(Paths("directory"), "/volume1/photo/End|/volume1/photo/End/sub");
}

// A file that was told under the old name found nothing there, when its turn came.
TEST_P(QueueRename, WhatCameBeforeARenameThatIsDoneAgainIsAdded) {
    ASSERT_EQ(PhotoInfoDBDirDelete("/none"), 0); // makes the tables
    Photo("insert into photo_image (path, name, title) values ('" + kPhoto + "old/1.jpg', 'x', 'typed')");
    Photo("insert into photo_share values (7, 'old', 'typed', '', 'true', 3, '', 'true', 'false', '1')");
    for (const char *name : {"new/1.jpg", "new/2.jpg", "new/sub/3.jpg"})
        FileWrite(kPhoto + name, "x");
    PathRenameAgain((kPhoto + "new").c_str(), (kPhoto + "old").c_str());
    EXPECT_EQ(PhotoPaths("photo_image"),
              "/volume1/photo/new/1.jpg|/volume1/photo/new/2.jpg|/volume1/photo/new/sub/3.jpg");
    Peer peer(photo_uri);
    EXPECT_EQ(peer.Query("select title as x from photo_image order by path"), "typed|2|3");
    EXPECT_EQ(peer.Query("select sharename as x from photo_share order by shareid"), "new|new/sub");
}

// A directory of another share has no albums, whatever its name.
TEST_P(QueueRename, AlbumsOfTheSameNameAsADirectoryElsewhereStay) {
    ASSERT_EQ(PhotoInfoDBDirDelete("/none"), 0); // makes the tables
    Photo("insert into photo_share values (7, 'x', 'typed', '', 'true', 3, '', 'true', 'false', '1')");
    Photo("insert into photo_share values (8, 'x/sub', 'typed', '', 'true', 3, '', 'true', 'true', '1')");
    for (const char *name : {"x/sub/1.jpg", "new/sub/2.jpg"})
        FileWrite(kPhoto + name, "x");
    FileWrite(kMusic + "x/1.pcm", "x");
    PathRenameAgain((kPhoto + "new").c_str(), (kMusic + "x").c_str());
    EXPECT_EQ(Peer(photo_uri).Query(
                  "select sharename as x from photo_share where title = 'typed' order by shareid"),
              "x|x/sub");
}

TEST_P(QueueRename, ATextFollowsItsPictureThoughTheDirectoryIsThereAgain) {
    ASSERT_EQ(PhotoInfoDBDirDelete("/none"), 0); // makes the tables
    for (const char *name : {"new/1.jpg", "old/2.jpg"})
        FileWrite(kPhoto + name, "x");
    ASSERT_TRUE(HandOverSpoolAdd((kPhoto + "old/1.jpg").c_str(), "VELUPHOTO:TITLE", "handed over"));
    HandOverSpoolAgain(true);
    PathRenameAgain((kPhoto + "new").c_str(), (kPhoto + "old").c_str());
    HandOverSpoolAgain(false);
    HandOverSpoolSettle(nullptr);
    EXPECT_EQ(Peer(photo_uri).Query("select title as x from photo_image"), "handed over");
}

// Where nothing is mounted, nothing is gone.
class QueueRenameOfStorage : public QueueRename {
protected:
    void SetUp() override {
        QueueRename::SetUp();
        FileWrite("/tmp/fstab",
                  "/dev/sdx /volume1/music/old/disk ext4\n/dev/sdy /volume1/photo/old/disk ext4\n");
        FileWrite("/tmp/mountinfo", "");
        storage_files = {"/tmp/fstab", "/tmp/mountinfo", "/tmp/mounts"};
    }
    void TearDown() override {
        storage_files = {};
        QueueRename::TearDown();
    }
};
ON_ALL_ENGINES(QueueRenameOfStorage);

TEST_P(QueueRenameOfStorage, ATreeThatIsRenamedToItselfKeepsWhatIsAway) {
    for (const char *name : {"old/disk/1.pcm", "old/2.pcm", "old/gone.pcm", "older.pcm"})
        ASSERT_EQ(Save(0, kMusic + name), 0);
    FileWrite(kMusic + "old/2.pcm", "x");
    FileWrite(kMusic + "old/3.pcm", "x");
    std::filesystem::create_directories(kMusic + "old/disk");
    const std::string kept = "/volume1/music/old/2.pcm|/volume1/music/old/3.pcm|"
                             "/volume1/music/old/disk/1.pcm|/volume1/music/older.pcm";
    PathRename((kMusic + "old/").c_str(), (kMusic + "old").c_str());
    EXPECT_EQ(Paths("music"), kept);
    PathRename((kMusic + "old/disk").c_str(), (kMusic + "old/disk").c_str());
    EXPECT_EQ(Paths("music"), kept);
    PathRenameAgain((kMusic + "old").c_str(), (kMusic + "old").c_str());
    EXPECT_EQ(Paths("music"), kept);
}

TEST_P(QueueRenameOfStorage, WhatIsAwayDoesNotMoveAsIfItWereGone) {
    ASSERT_EQ(PhotoInfoDBDirDelete("/none"), 0); // makes the tables
    for (const char *name : {"old/disk/1.pcm", "old/2.pcm"})
        ASSERT_EQ(Save(0, kMusic + name), 0);
    for (const char *name : {"old/disk/1.jpg", "old/2.jpg"})
        Photo("insert into photo_image (path, name, title) values ('" + kPhoto + name + "', 'x', 'typed')");
    for (const std::string &share : {kMusic, kPhoto}) {
        std::filesystem::create_directories(share + "old/disk");
        std::filesystem::create_directories(share + "new");
    }
    PathRenameAgain((kMusic + "new").c_str(), (kMusic + "old").c_str());
    PathRenameAgain((kPhoto + "new").c_str(), (kPhoto + "old").c_str());
    EXPECT_EQ(Paths("music"), "/volume1/music/old/disk/1.pcm");
    EXPECT_EQ(PhotoPaths("photo_image"), "/volume1/photo/new/2.jpg|/volume1/photo/old/disk/1.jpg");
}

} // namespace
