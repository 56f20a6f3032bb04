// SPDX-License-Identifier: GPL-2.0-or-later
//
// Albums in a catalogue that refuses a statement: what is logged, and that nothing else is lost.
#include <errno.h>

#include <filesystem>

#include "daemon/storage_mounts.h"
#include "photo/album_rights.h"
#include "photo/album_rows.h"
#include "photo/sql_text.h"
#include "photo_catalogue.h"
#include "tests/unit/failing_readdir.h"

namespace fs = std::filesystem;

namespace {

class PhotoShareFailuresTest : public PhotoLibraryFixture {
protected:
    PhotoShareFailuresTest() { FileWrite("/etc/veluinfo.conf", "albumdefpublic=\"no\"\n"); }

    // From here on an operation ("update of cover", say) on a table fails.
    static void Refuse(const std::string &operation, const std::string &table = "photo_share") {
        PhotoDBExec(("create trigger no before " + operation + " on " + table +
                     " begin select raise(abort, 'no'); end")
                        .c_str());
        LogTake();
    }
    // The lines of the albums alone, without those of the catalogue's own.
    static Texts AlbumLines() {
        Texts texts = LogTakeTexts();
        std::erase_if(texts, [](const std::string &text) { return !text.starts_with("photo_share.c"); });
        return texts;
    }
};

} // namespace

TEST_F(PhotoShareFailuresTest, ACreateThatFails) {
    AlbumAdd("A");
    LogTake();
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/A", 1), -1); // is there already
    EXPECT_EQ(AlbumLines(),
              Texts{"photo_share.c# Failed to exec [Insert into photo_share values(2, 'A', '', '', "
                    "'false', 0, '', 'true', 'false', '1');]"});
    EXPECT_EQ(Albums("shareid || sharename"), "1A");
}

TEST_F(PhotoShareFailuresTest, ADeleteThatFails) {
    AlbumAdd("A");
    Refuse("delete");
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/A", 2), -1);
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo", 2), -1);
    EXPECT_EQ(AlbumLines(),
              (Texts{"photo_share.c# Failed to exec [Delete from photo_share where sharename = 'A' or "
                     "sharename like 'A/%';]",
                     "photo_share.c# Failed to exec [Delete from photo_share;]"}));
}

TEST_F(PhotoShareFailuresTest, RightsThatCannotBeCopied) {
    AlbumAdd("A");
    PhotoDBExec("insert into photo_access_right values (7, 1, 'x')");
    Refuse("insert", "photo_access_right");
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/A/1", 1), -1);
    Texts texts = AlbumLines();
    ASSERT_EQ(texts.size(), 3U);
    EXPECT_TRUE(texts[0].starts_with(
        "photo_share.c# Failed to exec [Insert into photo_access_right Values (7, 2, '"));
    EXPECT_EQ(texts[1], "photo_share.c# VELUPhotoShareSubDirPrivilegeAdd failed.");
    EXPECT_EQ(texts[2], "photo_share.c# VELUPhotoShareSubDirUpdatePrivilege Failed.");
    EXPECT_EQ(Albums(), "A|A/1");
}

TEST_F(PhotoShareFailuresTest, APublicFlagThatCannotBeSet) {
    AlbumAdd("A");
    AlbumAdd("A/1");
    Refuse("update of public");
    EXPECT_EQ(VELUPhotoShareSubDirUpdatePrivilege("A/1"), -1);
    EXPECT_EQ(
        AlbumLines(),
        (Texts{"photo_share.c# Failed to exec [Update photo_share set public = 'f' where sharename = 'A/1';]",
               "photo_share.c# VELUPhotoShareSubDirUpdatePublic failed."}));
}

TEST_F(PhotoShareFailuresTest, RightsOfAlbumsThatAreNotThere) {
    AlbumAdd("A");
    PhotoDBExec("insert into photo_access_right values (7, 1, 'x')");
    LogTake();
    EXPECT_EQ(VELUPhotoShareSubDirPrivilegeAdd("A/1", "none"), -1);
    EXPECT_EQ(VELUPhotoShareSubDirPrivilegeAdd("A/none", "A"), -1);
    EXPECT_EQ(AlbumLines(), Texts(2, "photo_share.c# VELUPhotoShareGetFieldValue failed."));
}

TEST_F(PhotoShareFailuresTest, ARenameThatFails) {
    AlbumAdd("A");
    AlbumAdd("B");
    LogTake();
    EXPECT_EQ(PhotoShareRename("/volume1/photo/B", "/volume1/photo/A"), -1); // is there already
    EXPECT_EQ(AlbumLines(),
              Texts{"photo_share.c# Failed to exec [Update photo_share set sharename = 'B', is_subdir = "
                    "'f' where sharename = 'A']"});
    Refuse("update of cover");
    EXPECT_EQ(PhotoShareRename("/volume1/photo/C", "/volume1/photo/A"), -1);
    EXPECT_EQ(AlbumLines(),
              Texts{"photo_share.c# Failed to exec [UPDATE photo_share SET cover = replace(cover, "
                    "'/var/services/photo/A/', '/var/services/photo/C/') WHERE sharename='C']"});
    EXPECT_EQ(Albums(), "B|C"); // what was renamed stays so
}

TEST_F(PhotoShareFailuresTest, ASubAlbumThatCannotBeRenamed) {
    for (const char *album : {"A", "A/1", "N/1"})
        AlbumAdd(album);
    LogTake();
    EXPECT_EQ(PhotoShareRename("/volume1/photo/N", "/volume1/photo/A"), -1); // N/1 is there already
    EXPECT_EQ(AlbumLines(), (Texts{"photo_share.c# Failed to exec [Update photo_share set sharename = 'N/1' "
                                   "where sharename = 'A/1']",
                                   "photo_share.c# VELUPhotoShareRenameSubDir failed."}));
}

TEST_F(PhotoShareFailuresTest, MarksThatCannotBeSetLoseNothing) {
    AlbumAdd("A");
    Refuse("update of updated");
    EXPECT_EQ(PhotoShareResync(nullptr), -1);
    EXPECT_EQ(PhotoShareMarkOne("A"), -1);
    EXPECT_EQ(
        AlbumLines(),
        (Texts{
            "photo_share.c# Failed to set updated to 0 for all rows.",
            "photo_share.c# Failed to exec [Update photo_share set updated = '1' where sharename = 'A']."}));
    EXPECT_EQ(Albums(), "A");
}

TEST_F(PhotoShareFailuresTest, ASweepThatFails) {
    AlbumAdd("A");
    fs::remove("/volume1/photo/A");
    Refuse("delete");
    EXPECT_EQ(PhotoShareResync(nullptr), -1);
    EXPECT_EQ(AlbumLines(), Texts{"photo_share.c# Failed to delete none updated rows."});
}

// Marking has statements of 512 bytes. A name of two long parts makes one that is cut, which the database refuses.
TEST_F(PhotoShareFailuresTest, AnAlbumWhoseNameDoesNotFitIsNotMarked) {
    const std::string album = std::string(255, 'a') + '/' + std::string(255, 'b');
    AlbumAdd(std::string(255, 'a'));
    AlbumAdd(album);
    LogTake();
    EXPECT_EQ(PhotoShareMarkOne(album.c_str()), -1);
    EXPECT_EQ(AlbumLines(), Texts{"photo_share.c# Error occurred, failed to get records."});
}

TEST_F(PhotoShareFailuresTest, AnAlbumThatCannotBeMarkedStays) {
    const std::string top(255, 'a');
    const std::string album = top + '/' + std::string(255, 'b');
    AlbumAdd(top);
    AlbumAdd(album);
    AlbumAdd("B");
    fs::remove("/volume1/photo/B");
    LogTake();
    EXPECT_EQ(PhotoShareResync(nullptr), 0);
    EXPECT_EQ(Albums("sharename || updated"), top + "1|" + album + "1");
    EXPECT_EQ(AlbumLines(), (Texts{"photo_share.c# Error occurred, failed to get records.",
                                   "photo_share.c# The albums at and below /volume1/photo/" + album +
                                       " are kept. (it could not be marked)"}));
}

// A cut behind a quote of a name leaves what would be a statement about another album.
TEST_F(PhotoShareFailuresTest, WhatIsCutIsNeverAStatement) {
    const std::string whole = SqlFormat(100, "Delete from photo_share where sharename = '%s'", "A''B");
    EXPECT_EQ(whole, "Delete from photo_share where sharename = 'A''B'");
    for (size_t size = 20; size <= whole.size(); ++size) {
        const std::string cut = SqlFormat(size, "Delete from photo_share where sharename = '%s'", "A''B");
        EXPECT_EQ(cut.size(), size - 1);
        EXPECT_EQ(std::count(cut.begin(), cut.end(), '\'') % 2, 1) << cut;
        EXPECT_LT(PhotoDBExec(cut.c_str()), 0) << cut;
    }
}

TEST_F(PhotoShareFailuresTest, AlbumsOfADirectoryThatCannotBeReadStay) {
    for (const char *album : {"A", "A/1", "A/2", "B", "B/1"})
        AlbumAdd(album);
    for (const char *album : {"A/2", "B/1"})
        fs::remove(std::string("/volume1/photo/") + album);
    fs::create_symlink(std::string(300, 'x'), "/volume1/photo/B/1");
    LogTake();
    ReaddirFailAt("1", EIO);
    fs::rename("/volume1/photo/B/1", "/volume1/photo/B/far");
    PhotoDBExec("update photo_share set sharename = 'B/far' where sharename = 'B/1'");
    EXPECT_EQ(PhotoShareResync(nullptr), 0);
    ReaddirFailAt("", 0);
    EXPECT_EQ(Albums(), "A|A/1|A/2|B|B/far");
    EXPECT_EQ(AlbumLines(),
              (Texts{"photo_share.c# Failed to open directory /volume1/photo/A",
                     "photo_share.c# The albums at and below /volume1/photo/A are kept. (Input/output error)",
                     "photo_share.c# The albums at and below /volume1/photo/B/far are kept. (it could not be "
                     "looked at)"}));
    ReaddirFailAt("A", EIO);
    EXPECT_EQ(PhotoShareResync(nullptr), -1);
    ReaddirFailAt("", 0);
    EXPECT_EQ(Albums(), "A|A/1|A/2|B|B/far");
    EXPECT_EQ(AlbumLines().back(),
              "photo_share.c# The albums below /volume1/photo are kept. (Input/output error)");
    EXPECT_EQ(PhotoShareResync(nullptr), 0);
    EXPECT_EQ(Albums(), "A|A/1|B|B/far");
}

TEST_F(PhotoShareFailuresTest, AlbumsOnStorageThatIsAwayStay) {
    for (const char *album : {"A", "A/1", "B"})
        AlbumAdd(album);
    PictureAdd("/volume1/photo/A/1/x.jpg");
    fs::remove_all("/volume1/photo/A/1");
    fs::remove("/volume1/photo/B");
    FileWrite("/tmp/fstab", "/dev/sdx1 /volume1/photo/A ext4 noauto\n");
    FileWrite("/tmp/mountinfo", "");
    storage_files = {"/tmp/fstab", "/tmp/mountinfo", "/tmp/mounts"};
    LogTake();
    EXPECT_EQ(PhotoShareResync(nullptr), 0);
    EXPECT_EQ(Albums(), "A|A/1");
    EXPECT_EQ(
        AlbumLines(),
        Texts{"photo_share.c# The albums at and below /volume1/photo/A are kept. (their storage is away)"});
    FileWrite("/tmp/fstab", "/dev/sdx1 /volume1/photo ext4 noauto\n");
    fs::remove("/volume1/photo/A");
    EXPECT_EQ(PhotoShareResync(nullptr), -1);
    EXPECT_EQ(Albums(), "A|A/1");
    EXPECT_EQ(AlbumLines(),
              Texts{"photo_share.c# The storage of /volume1/photo is away: its albums are kept."});
    storage_files = {};
}

TEST_F(PhotoShareFailuresTest, ACatalogueOutOfReach) {
    FileWrite("/etc/veluinfo.conf", "photodb=\"nothing:\"\n");
    EXPECT_EQ(PhotoShareIdNext(), 1);
    char value[8];
    EXPECT_EQ(VELUPhotoShareGetFieldValue("A", "public", value, sizeof value), -1);
    EXPECT_EQ(AlbumLines(), Texts(2, "photo_share.c# Error occurred, failed to get records."));
}
