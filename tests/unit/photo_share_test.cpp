// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_share.h"

#include <filesystem>

#include "photo/album_path.h"
#include "photo/album_rights.h"
#include "photo/album_rows.h"
#include "photo/directory_names.h"
#include "photo_catalogue.h"

namespace fs = std::filesystem;

namespace {

class PhotoShareTest : public PhotoLibraryFixture {
protected:
    static std::string Rights() {
        return PhotoQuery(
            "select userid || ':' || shareid as x from photo_access_right order by shareid, userid");
    }
};

} // namespace

TEST_F(PhotoShareTest, LevelsCountFromTheShareOn) {
    EXPECT_EQ(PhotoShareLevelGet("/volume1/photo/Trips"), 0);
    EXPECT_EQ(PhotoShareLevelGet("/volume1/photo/Trips/2009"), 1);
    EXPECT_EQ(PhotoShareLevelGet("/volume1/photo/Trips/2009/May"), 2);
    EXPECT_EQ(PhotoShareLevelGet("/volume1/photo/a/b/c/d"), 2);
    for (const char *path : {"", "/volume1/photo", "/volume1/photo/", "/a"})
        EXPECT_EQ(PhotoShareLevelGet(path), 2) << path;
    EXPECT_EQ(PhotoShareLevelGet(nullptr), 2);
}

TEST_F(PhotoShareTest, BadParametersAreLogged) {
    EXPECT_EQ(PhotoShareUpdate(nullptr, 1), -1);
    EXPECT_EQ(PhotoShareUpdate("", 2), -1);
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/a", 3), -1);
    EXPECT_EQ(PhotoShareTreeAdd(""), -1);
    EXPECT_EQ(PhotoShareRename("", "/volume1/photo/a"), -1);
    EXPECT_EQ(PhotoShareRename("/volume1/photo/a", nullptr), -1);
    EXPECT_EQ(VELUPhotoShareSubDirUpdatePrivilege("top"), -1);
    EXPECT_EQ(VELUPhotoShareSubDirUpdatePrivilege(nullptr), -1);
    EXPECT_EQ(LogTakeTexts(), Texts(8, "photo_share.c# Bad parameter."));
}

TEST_F(PhotoShareTest, AlbumsAreMadeDownToOneLevelBelowTheTop) {
    FileWrite("/etc/veluinfo.conf", "albumdefpublic=\"YES\"\n");
    AlbumAdd("Trips");
    FileWrite("/etc/veluinfo.conf", "albumdefpublic=\"no\"\n");
    AlbumAdd("Trips/2009");
    AlbumAdd("Trips/2009/May");
    EXPECT_EQ(
        Albums("shareid || ',' || sharename || ',' || public || ',' || is_subdir || ',' || updated || ',' || "
               "allow_comment || ',' || hits || ',' || cover"),
        "1,Trips,t,f,1,t,0,|2,Trips/2009,t,t,1,t,0,");
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(PhotoShareTest, AMissingDefaultIsLoggedUnderAnotherKeysName) {
    AlbumAdd("Trips");
    EXPECT_EQ(Albums("public"), "f");
    EXPECT_EQ(LogTakeTexts(), Texts{"photo_share.c# Can't get key valude. key=supportcinehall"});
}

TEST_F(PhotoShareTest, TheUsersChoiceGoesBeforeTheDefault) {
    FileWrite("/etc/veluinfo.conf", "albumdefpublic=\"no\"\n");
    FileWrite("/volume1/photo/@eaDir/A/VELUPHOTO:PUBLIC", "1\n");
    AlbumAdd("A");
    FileWrite("/etc/veluinfo.conf", "albumdefpublic=\"yes\"\n");
    FileWrite("/volume1/photo/@eaDir/B/VELUPHOTO:PUBLIC", "0");
    AlbumAdd("B");
    EXPECT_EQ(Albums("public"), "t|f");
    EXPECT_FALSE(fs::exists("/volume1/photo/@eaDir/A/VELUPHOTO:PUBLIC"));
}

TEST_F(PhotoShareTest, RightsOfAnAlbumThatIsNotPublicAreCopied) {
    FileWrite("/etc/veluinfo.conf", "albumdefpublic=\"no\"\n");
    AlbumAdd("Trips");
    PhotoDBExec("insert into photo_access_right values (7, 1, 'x')");
    PhotoDBExec("insert into photo_access_right values (8, 1, 'x')");
    PhotoDBExec("insert into photo_access_right values (9, 5, 'x')");
    AlbumAdd("Trips/2009");
    EXPECT_EQ(Rights(), "7:1|8:1|7:2|8:2|9:5");
    const std::string granted = PhotoQuery("select granted as x from photo_access_right where shareid = 2");
    EXPECT_EQ(granted.size(), 25U * 2 + 1);
    EXPECT_EQ(granted.back(), '\n');
}

TEST_F(PhotoShareTest, RightsOfAPublicAlbumAreNot) {
    FileWrite("/etc/veluinfo.conf", "albumdefpublic=\"yes\"\n");
    AlbumAdd("Trips");
    PhotoDBExec("insert into photo_access_right values (7, 1, 'x')");
    AlbumAdd("Trips/2009");
    EXPECT_EQ(Rights(), "7:1");
}

TEST_F(PhotoShareTest, ASubAlbumWithoutItsAlbumCountsAsFailedButStays) {
    FileWrite("/etc/veluinfo.conf", "albumdefpublic=\"no\"\n");
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/None/2009", 1), -1);
    EXPECT_EQ(Albums(), "None/2009");
    EXPECT_EQ(LogTakeTexts(), (Texts{"photo_share.c# VELUPhotoShareGetFieldValue failed.",
                                     "photo_share.c# VELUPhotoShareSubDirUpdatePrivilege Failed."}));
}

TEST_F(PhotoShareTest, AnAlbumGoesWithItsSubAlbumsAndNoOther) {
    for (const char *album : {"a_", "a_/1", "ab", "ab/1", "a_x", "o'a", "o'a/1"})
        AlbumAdd(album);
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/a_", 2), 0);
    EXPECT_EQ(Albums(), "a_x|ab|ab/1|o'a|o'a/1");
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/o'a", 2), 0);
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/ab/1/deeper", 2), 0);
    EXPECT_EQ(Albums(), "a_x|ab|ab/1");
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo", 2), 0);
    EXPECT_EQ(Albums(), "");
}

TEST_F(PhotoShareTest, ATreeIsAddedInTheOrderOfItsNames) {
    for (const char *name : {"T/b", "T/a/x", "T/@eaDir", "T/.hidden", "elsewhere"})
        fs::create_directories(std::string("/volume1/photo/") + name);
    fs::create_directory_symlink("/volume1/photo/elsewhere", "/volume1/photo/T/link");
    FileWrite("/volume1/photo/T/file", "x");
    for (int needs_stat : {0, 1}) {
        PhotoShareNeedsStat = needs_stat;
        PhotoShareUpdate("/volume1/photo", 2);
        EXPECT_EQ(PhotoShareTreeAdd("/volume1/photo/T"), 0);
        EXPECT_EQ(PhotoQuery("select sharename as x from photo_share order by shareid"), "T|T/a|T/b|T/link");
        PhotoShareNeedsStat = 0;
    }
    EXPECT_EQ(PhotoShareTreeAdd("/volume1/photo/T/a/x"), 0);
    EXPECT_EQ(PhotoShareTreeAdd("/volume1/photo"), 0);
    EXPECT_EQ(Albums(), "T|T/a|T/b|T/link");
}

TEST_F(PhotoShareTest, ARenamedAlbumTakesItsSubAlbumsAndCoversWithIt) {
    for (const char *album : {"Tr_ps", "Tr_ps/2009", "Trips", "Trips/2009"})
        AlbumAdd(album);
    PhotoDBExec("update photo_share set cover = '/var/services/photo/' || sharename || '/c.jpg'");
    EXPECT_EQ(PhotoShareRename("/volume1/photo/Travel", "/volume1/photo/Tr_ps"), 0);
    EXPECT_EQ(Albums("sharename || ' ' || cover || ' ' || is_subdir"),
              "Travel /var/services/photo/Travel/c.jpg f|Travel/2009 /var/services/photo/Travel/2009/c.jpg t|"
              "Trips /var/services/photo/Trips/c.jpg f|Trips/2009 /var/services/photo/Trips/2009/c.jpg t");
}

TEST_F(PhotoShareTest, EveryCoverInARenamedAlbumMovesWhicheverAlbumShowsIt) {
    for (const char *album : {"Best", "Trips", "Trips/2009", "Trips2"})
        AlbumAdd(album);
    PhotoDBExec("update photo_share set cover = '/var/services/photo/Trips/2009/c.jpg'");
    PhotoDBExec(
        "update photo_share set cover = '/var/services/photo/Trips/c.jpg' where sharename = 'Trips/2009'");
    PhotoDBExec(
        "update photo_share set cover = '/var/services/photo/Trips2/c.jpg' where sharename = 'Trips2'");
    EXPECT_EQ(PhotoShareRename("/volume1/photo/Travel", "/volume1/photo/Trips"), 0);
    EXPECT_EQ(Albums("sharename || ' ' || substr(cover, 21)"),
              "Best Travel/2009/c.jpg|Travel Travel/2009/c.jpg|Travel/2009 Travel/c.jpg|Trips2 Trips2/c.jpg");
}

TEST_F(PhotoShareTest, ASubAlbumRenamedKeepsItsPlaceAndMovesItsCover) {
    for (const char *album : {"A", "A/1", "B"})
        AlbumAdd(album);
    PhotoDBExec("update photo_share set cover = '/var/services/photo/' || sharename || '/c.jpg'");
    EXPECT_EQ(PhotoShareRename("/volume1/photo/B/2", "/volume1/photo/A/1"), 0);
    EXPECT_EQ(Albums("shareid || sharename || is_subdir || substr(cover, 21)"),
              "1AfA/c.jpg|3BfB/c.jpg|2B/2tB/2/c.jpg");
}

TEST_F(PhotoShareTest, ARenameOfAnUnknownAlbumCreatesItAndFailsAllTheSame) {
    fs::create_directories("/volume1/photo/New/a");
    EXPECT_EQ(PhotoShareRename("/volume1/photo/New", "/volume1/photo/Old"), -1);
    EXPECT_EQ(Albums(), "New|New/a");
}

TEST_F(PhotoShareTest, ARenameOfAnUnknownAlbumToNoDirectoryIsLogged) {
    EXPECT_EQ(PhotoShareRename("/volume1/photo/New", "/volume1/photo/Old"), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"photo_share.c# UPDATE cover failed, sharename [New] not exists in db."});
}

TEST_F(PhotoShareTest, ARenameBelowTheAlbumsFailsSilently) {
    EXPECT_EQ(PhotoShareRename("/volume1/photo/a/b/c", "/volume1/photo/a/b/d"), -1);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(PhotoShareTest, AnAlbumMovedIntoAnotherLosesItsSubAlbums) {
    for (const char *album : {"A", "A/1", "B"})
        AlbumAdd(album);
    EXPECT_EQ(PhotoShareRename("/volume1/photo/B/A", "/volume1/photo/A"), 0);
    EXPECT_EQ(Albums("sharename || is_subdir"), "Bf|B/At");
}

TEST_F(PhotoShareTest, ASubAlbumMovedToTheTopGetsSubAlbums) {
    for (const char *album : {"A", "A/B"})
        AlbumAdd(album);
    fs::create_directories("/volume1/photo/B/x");
    EXPECT_EQ(PhotoShareRename("/volume1/photo/B", "/volume1/photo/A/B"), 0);
    EXPECT_EQ(Albums("sharename || is_subdir"), "Af|Bf|B/xt");
}

TEST_F(PhotoShareTest, AResyncFollowsTheDisk) {
    for (const char *album : {"Kept", "Kept/1", "Gone", "Gone/1", "Kept/gone"})
        AlbumAdd(album);
    fs::remove_all("/volume1/photo/Gone");
    fs::remove("/volume1/photo/Kept/gone");
    for (const char *name : {"#recycle/a", "@eaDir/a", "New/1/2", "Kept/#recycle", "Kept/@eaDir"})
        fs::create_directories(std::string("/volume1/photo/") + name);
    const auto before = fs::current_path();
    EXPECT_EQ(PhotoShareResync(nullptr), 0);
    EXPECT_EQ(Albums("sharename || updated"), "Kept1|Kept/11|New1|New/11");
    EXPECT_EQ(fs::current_path(), before);
}

TEST_F(PhotoShareTest, AResyncOfOneAlbumAddsItsSubAlbumsAndRemovesNothing) {
    AlbumAdd("A");
    AlbumAdd("A/gone");
    fs::remove("/volume1/photo/A/gone");
    fs::create_directories("/volume1/photo/A/new");
    EXPECT_EQ(PhotoShareResync("/volume1/photo/A"), 0);
    EXPECT_EQ(PhotoShareResync("/volume1/photo/A/new"), 0);
    EXPECT_EQ(Albums(), "A|A/gone|A/new");
}

TEST_F(PhotoShareTest, AShareThatCannotBeReadLosesNothing) {
    AlbumAdd("A");
    fs::remove("/var/services/photo");
    LogTake();
    EXPECT_EQ(PhotoShareResync(nullptr), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"photo_share.c# Failed to read link of /var/services/photo"});
    PhotoShareFsCheck();
    EXPECT_EQ(LogTakeTexts(), Texts{"photo_share.c# Failed to statfs."});
    fs::create_directory_symlink("/volume1/none", "/var/services/photo");
    EXPECT_EQ(PhotoShareResync(nullptr), -1);
    EXPECT_EQ(Albums(), "A");
}

TEST_F(PhotoShareTest, ASlashAtTheEndOfTheLinkIsNoPartOfTheNames) {
    AlbumAdd("A");
    fs::create_directories("/volume1/photo/B/1");
    fs::remove("/var/services/photo");
    fs::create_directory_symlink("/volume1/photo/", "/var/services/photo");
    EXPECT_EQ(PhotoShareResync(nullptr), 0);
    EXPECT_EQ(Albums(), "A|B|B/1");
}

TEST_F(PhotoShareTest, TheFileSystemDecidesWhetherEntriesAreLookedAt) {
    PhotoShareNeedsStat = 1;
    fs::remove("/var/services/photo");
    PhotoShareFsCheck();
    EXPECT_EQ(PhotoShareNeedsStat, 1); // nothing is known
    fs::create_directory_symlink("/volume1/photo", "/var/services/photo");
    PhotoShareFsCheck();
    EXPECT_EQ(PhotoShareNeedsStat, 0);
}

TEST_F(PhotoShareTest, MarksOfOneAlbumsSubAlbums) {
    for (const char *album : {"A", "A/1", "B", "B/1"})
        AlbumAdd(album);
    EXPECT_EQ(PhotoShareMarkAll("A"), 0);
    EXPECT_EQ(Albums("updated"), "1|0|1|1");
    EXPECT_EQ(PhotoShareSweep("B"), 0);
    EXPECT_EQ(PhotoShareMarkOne("B"), -1); // always
    EXPECT_EQ(PhotoShareSweep("A"), 0);
    EXPECT_EQ(Albums(), "A|B|B/1");
}

TEST_F(PhotoShareTest, TheNextIdFollowsTheLargest) {
    EXPECT_EQ(PhotoShareIdNext(), 1);
    PhotoDBExec("insert into photo_share (shareid, sharename) values (-5, 'x')");
    EXPECT_EQ(PhotoShareIdNext(), 1);
    PhotoDBExec("insert into photo_share (shareid, sharename) values (41, 'y')");
    EXPECT_EQ(PhotoShareIdNext(), 42);
}
