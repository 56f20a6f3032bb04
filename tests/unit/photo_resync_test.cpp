// SPDX-License-Identifier: GPL-2.0-or-later
//
// The resync of the photo library with the disk.
#include <filesystem>

#include <errno.h>

#include "daemon/storage_mounts.h"
#include "photo/photo_sync.h"
#include "photo_catalogue.h"
#include "platform/limits.h"
#include "tests/unit/failing_readdir.h"

namespace fs = std::filesystem;

namespace {
using PhotoResyncTest = PhotoLibraryFixture;
}

TEST_F(PhotoResyncTest, AResyncOfTheShareFollowsTheDisk) {
    for (const char *path :
         {"/volume1/photo/gone.jpg", "/volume1/photo/kept.jpg", "/volume1/photo/D/gone.jpg"})
        PictureAdd(path);
    fs::remove("/volume1/photo/gone.jpg");
    fs::remove_all("/volume1/photo/D");
    for (const char *path :
         {"/volume1/photo/new.jpg", "/volume1/photo/E.x/F/new.jpg", "/volume1/photo/@eaDir/e.jpg",
          "/volume1/photo/my@eaDir/e.jpg", "/volume1/photo/#recycle/r.jpg", "/volume1/photo/.hidden/h.jpg",
          "/volume1/photo/E.x/#recycle/deep.jpg"})
        FileWrite(path, "x");
    fs::create_directory_symlink("/volume1/photo", "/volume1/photo/E.x/loop");
    const auto before = fs::current_path();
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path"), "/volume1/photo/E.x/#recycle/deep.jpg|/volume1/photo/E.x/F/new.jpg|"
                                  "/volume1/photo/kept.jpg|/volume1/photo/new.jpg");
    EXPECT_EQ(fs::current_path(), before);
}

TEST_F(PhotoResyncTest, AResyncOfATreeRemovesNothing) {
    PictureAdd("/volume1/photo/D/gone.jpg");
    fs::remove("/volume1/photo/D/gone.jpg");
    FileWrite("/volume1/photo/D/new.jpg", "x");
    EXPECT_EQ(PhotoLibraryResync("/volume1/photo/D"), 0);
    EXPECT_EQ(PhotoField("name"), "gone.jpg|new.jpg");
    EXPECT_EQ(PhotoLibraryResync("/volume1/photo/#recycle/x"), 0);
}

TEST_F(PhotoResyncTest, AShareThatCannotBeReadLosesNothing) {
    PictureAdd("/volume1/photo/a.jpg");
    fs::remove("/var/services/photo");
    EXPECT_EQ(PhotoLibraryResync(nullptr), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"photo_index.c# Failed to read link of /var/services/photo"});
    fs::create_directory_symlink("/volume1/none", "/var/services/photo");
    EXPECT_EQ(PhotoLibraryResync(nullptr), -1);
    EXPECT_EQ(PhotoField("name"), "a.jpg");
}

TEST_F(PhotoResyncTest, MoreDirectoriesThanAPortionAreAllVisitedOnce) {
    size_t made = 0;
    for (const size_t count : {kResyncFirstPortion, kResyncFirstPortion + 1, 3 * kResyncFirstPortion + 1}) {
        for (; made < count; ++made)
            FileWrite("/volume1/photo/d" + std::to_string(made) + "/a.jpg", "x");
        VELUIndexRunBegin();
        EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
        VELUIndexRunEnd();
        EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image"), std::to_string(count));
    }
}

TEST_F(PhotoResyncTest, ADeepTreeCostsNoDescriptors) {
    std::string path = "/volume1/photo";
    for (int i = 0; i < 1500; ++i) {
        path += "/d";
        mkdir(path.c_str(), 0755);
    }
    FileWrite(path + "/a.jpg", "x");
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path"), path + "/a.jpg");
}

TEST_F(PhotoResyncTest, ARunThatWasKilledIsRepairedByTheNext) {
    PictureAdd("/volume1/photo/a.jpg");
    PictureAdd("/volume1/photo/D/b.jpg");
    PictureAdd("/volume1/photo/D/gone.jpg");
    ASSERT_EQ(VELUPhotoInitAllRows(), 0); // as far as the other came
    fs::remove("/volume1/photo/D/gone.jpg");
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("name || updated"), "b.jpg1|a.jpg1");
}

TEST_F(PhotoResyncTest, ACatalogueThatRefusesIsLogged) {
    PictureAdd("/volume1/photo/a.jpg");
    PhotoDBExec("create trigger no_sweep before delete on photo_image begin select raise(abort, 'no'); end");
    PhotoDBExec("insert into photo_image (path) values ('/gone.jpg')");
    LogTake();
    EXPECT_EQ(PhotoLibraryResync(nullptr), -1);
    EXPECT_EQ(LogTakeTexts().back(), "photo_index.c# Failed to delete none updated rows.");
    PhotoDBExec("create trigger no_mark before update on photo_image begin select raise(abort, 'no'); end");
    EXPECT_EQ(PhotoLibraryResync(nullptr), -1);
    EXPECT_EQ(LogTakeTexts().back(), "photo_index.c# Failed to set updated to 0 for all rows.");
}

TEST_F(PhotoResyncTest, ASlashAtTheEndOfTheLinkIsNoPartOfThePaths) {
    PictureAdd("/volume1/photo/a.jpg");
    fs::remove("/var/services/photo");
    fs::create_directory_symlink("/volume1/photo/", "/var/services/photo");
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path"), "/volume1/photo/a.jpg");
}

TEST_F(PhotoResyncTest, LinksToDirectoriesAreFollowed) {
    FileWrite("/volume1/video/real/a.jpg", "x");
    fs::create_directory_symlink("/volume1/video/real", "/volume1/photo/linked");
    fs::create_symlink("/volume1/video/real/a.jpg", "/volume1/photo/b.jpg");
    fs::create_directory_symlink("/nowhere", "/volume1/photo/dangling");
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path"), "/volume1/photo/b.jpg|/volume1/photo/linked/a.jpg");
}

TEST_F(PhotoResyncTest, ADirectoryThatLinksReachAtSeveralPlacesHasRowsAtEach) {
    FileWrite("/volume1/video/common/a.jpg", "x");
    for (const char *name : {"x", "y"}) {
        fs::create_directories(std::string("/volume1/video/") + name);
        fs::create_directory_symlink("/volume1/video/common",
                                     std::string("/volume1/video/") + name + "/common");
        fs::create_directory_symlink(std::string("/volume1/video/") + name,
                                     std::string("/volume1/photo/") + name);
    }
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path"), "/volume1/photo/x/common/a.jpg|/volume1/photo/y/common/a.jpg");
}

// In every order there is, seven directories would be more than ten thousand.
TEST_F(PhotoResyncTest, DirectoriesFullOfLinksToOneAnotherEnd) {
    constexpr int kDirectories = 7;
    const auto name = [](int i) { return "/volume1/photo/d" + std::to_string(i); };
    for (int i = 0; i < kDirectories; ++i)
        FileWrite(name(i) + "/a.jpg", "x");
    for (int i = 0; i < kDirectories; ++i) {
        for (int j = 0; j < kDirectories; ++j) {
            if (i != j)
                fs::create_directory_symlink(name(j), name(i) + "/to" + std::to_string(j));
        }
    }
    VELUIndexRunBegin();
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    VELUIndexRunEnd();
    // Its directories, what each links to, each of them once from below a link, and such visits again.
    constexpr int kMost = kDirectories + kDirectories * (kDirectories - 1) + kDirectories +
                          static_cast<int>(kWalkEnteredAgainMax);
    const int rows = std::stoi(PhotoQuery("select count(*) as x from photo_image"));
    EXPECT_LE(rows, kMost);
    EXPECT_GE(rows, kMost - kDirectories);
}

TEST_F(PhotoResyncTest, TheKernelsTreesAreLeftOut) {
    fs::create_directory_symlink("/proc", "/volume1/photo/proc");
    FileWrite("/volume1/photo/a.jpg", "x");
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path"), "/volume1/photo/a.jpg");
}

namespace {

// A picture in A, one in A/B, one in C, and rows in each whose files are gone.
void LibraryMake() {
    for (const char *folder : {"A", "A/B", "C"}) {
        PictureAdd(std::string("/volume1/photo/") + folder + "/there.jpg");
        PictureAdd(std::string("/volume1/photo/") + folder + "/gone.jpg");
        fs::remove(std::string("/volume1/photo/") + folder + "/gone.jpg");
    }
    LogTake();
}

} // namespace

TEST_F(PhotoResyncTest, ADirectoryWhoseListingBreaksOffKeepsItsRows) {
    LibraryMake();
    ReaddirFailAt("B", EIO);
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    ReaddirFailAt("", 0);
    EXPECT_EQ(PhotoField("path"),
              "/volume1/photo/A/B/gone.jpg|/volume1/photo/A/B/there.jpg|/volume1/photo/A/gone.jpg|"
              "/volume1/photo/A/there.jpg|/volume1/photo/C/there.jpg");
    EXPECT_EQ(
        LogTakeTexts(),
        (Texts{"photo_index.c# Failed to open directory /volume1/photo/A",
               "photo_index.c# The rows at and below /volume1/photo/A are kept. (Input/output error)"}));
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path"),
              "/volume1/photo/A/B/there.jpg|/volume1/photo/A/there.jpg|/volume1/photo/C/there.jpg");
}

TEST_F(PhotoResyncTest, ALinkThatCannotBeLookedAtKeepsWhatIsBelowIt) {
    LibraryMake();
    for (const char *name : {"far", "nowhere"})
        PhotoDBExec(
            ("insert into photo_image (path) values ('/volume1/photo/" + std::string(name) + "/x.jpg')")
                .c_str());
    fs::create_symlink(std::string(300, 'x'), "/volume1/photo/far");
    fs::create_symlink("/none", "/volume1/photo/nowhere");
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path"),
              "/volume1/photo/A/B/there.jpg|/volume1/photo/A/there.jpg|/volume1/photo/C/there.jpg|"
              "/volume1/photo/far/x.jpg");
}

TEST_F(PhotoResyncTest, APictureThatCannotBeSavedKeepsItsRow) {
    LibraryMake();
    PhotoDBExec("create trigger refuse before update of title on photo_image when new.path like '%C/there%' "
                "begin select "
                "raise(abort, 'no'); end");
    LogTake();
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path || updated"),
              "/volume1/photo/A/B/there.jpg1|/volume1/photo/A/there.jpg1|/volume1/photo/C/there.jpg1");
    EXPECT_EQ(
        LogTakeTexts().back(),
        "photo_index.c# The rows at and below /volume1/photo/C/there.jpg are kept. (it could not be saved)");
}

TEST_F(PhotoResyncTest, APictureThatIsLeftOutNowGoes) {
    LibraryMake();
    FileWrite("/volume1/photo/A/there.jpg", "");
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path"), "/volume1/photo/A/B/there.jpg|/volume1/photo/C/there.jpg");
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(PhotoResyncTest, AMarkThatIsLostBehindTheWalkKeepsAllRows) {
    LibraryMake();
    PhotoDBExec("create table parent (x text primary key)");
    PhotoDBExec("create table child (x text references parent (x) deferrable initially deferred)");
    PhotoDBExec("create table strict (x text check (x <> 'there'))");
    PhotoDBExec("create trigger copy after update of title on photo_image begin "
                "insert into child values ('nobody'); insert into strict values (new.title); end");
    LogTake();
    VELUIndexRunBegin();
    VELUIndexRows *rows = PhotoInfoDBOpen(kPhotoTableImage, "path", nullptr, nullptr, 1);
    // On the run's first connection alone every row passes and the commit does not.
    VELUDBExecute(VELUIndexRowsConnection(rows), "pragma foreign_keys = on", nullptr);
    VELUDBExecute(VELUIndexRowsConnection(rows), "pragma ignore_check_constraints = on", nullptr);
    PhotoInfoDBClose(rows);
    EXPECT_EQ(PhotoLibraryResync(nullptr), -1);
    VELUIndexRunEnd();
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image"), "6");
    EXPECT_EQ(LogTakeTexts().back(),
              "photo_index.c# The rows below /volume1/photo are kept. (the catalogue failed in between)");
}

TEST_F(PhotoResyncTest, PicturesOnStorageThatIsAwayAreKept) {
    LibraryMake();
    FileWrite("/tmp/fstab", "/dev/sdx1 /volume1/photo/C ext4 noauto\n");
    FileWrite("/tmp/mountinfo", "");
    storage_files = {"/tmp/fstab", "/tmp/mountinfo", "/tmp/mounts"};
    fs::remove("/volume1/photo/C/there.jpg");
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoField("path"),
              "/volume1/photo/A/B/there.jpg|/volume1/photo/A/there.jpg|/volume1/photo/C/gone.jpg|"
              "/volume1/photo/C/there.jpg");
    EXPECT_EQ(LogTakeTexts(),
              Texts{"photo_index.c# The storage of /volume1/photo/C is away: its pictures are kept."});
    FileWrite("/tmp/fstab", "/dev/sdx1 /volume1/photo ext4 noauto\n");
    fs::remove_all("/volume1/photo/A");
    fs::remove_all("/volume1/photo/C");
    EXPECT_EQ(PhotoLibraryResync(nullptr), -1);
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image"), "4");
    storage_files = {};
}
