// SPDX-License-Identifier: GPL-2.0-or-later
//
// Names that would be something else in a statement. Each comes with the name of a sibling that it would match
// as a pattern, or be cut to; nothing that is done to the one may reach the other.
#include <filesystem>

#include "daemon/index.h"
#include "daemon/walker.h"
#include "photo/album_rows.h"
#include "photo/photo_sync.h"
#include "photo_catalogue.h"

namespace fs = std::filesystem;

namespace {

struct Names {
    std::string name;
    std::string sibling;
};

const Names kNames[] = {
    {"a_b", "axb"},       {"%", "anything"},          {"a\\_b", "a_b"},
    {"' or 1=1 --", "x"}, {"trailing\\", "trailing"}, {"caf\xE9\n_", "caf\xE9\nx"},
    {"A_", "a_"},
};

class PhotoNamesTest : public PhotoLibraryFixture, public testing::WithParamInterface<Names> {
protected:
    static std::string Path(const std::string &name) { return "/volume1/photo/" + name; }
    std::string Own(const std::string &rest = "") const { return Path(GetParam().name) + rest; }
    std::string Sibling(const std::string &rest = "") const { return Path(GetParam().sibling) + rest; }

    static std::string Quoted(std::string text) {
        for (size_t at = text.find('\''); at != std::string::npos; at = text.find('\'', at + 2))
            text.insert(at, 1, '\'');
        return "'" + text + "'";
    }
    // The number of rows of a table with a path (or another key) and a condition.
    static std::string Count(const std::string &table, const std::string &key,
                             const std::string &column = "path", const std::string &condition = "1 = 1") {
        return PhotoQuery("select count(*) as x from " + table + " where " + column + " = " + Quoted(key) +
                          " and " + condition);
    }
    static std::string Album(const std::string &name, const std::string &condition = "1 = 1") {
        return Count("photo_share", name, "sharename", condition);
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Siblings, PhotoNamesTest, testing::ValuesIn(kNames));

TEST_P(PhotoNamesTest, ARenamedDirectoryTakesItsPicturesAlone) {
    PictureAdd(Own("/1.jpg"));
    PictureAdd(Sibling("/1.jpg"));
    fs::rename(Own(), Path("new"));
    EXPECT_EQ(PhotoPathRename(Path("new").c_str(), Own().c_str(), 1), 0);
    EXPECT_EQ(Count("photo_image", Path("new/1.jpg")), "1");
    EXPECT_EQ(Count("photo_image", Sibling("/1.jpg")), "1");
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image"), "2");
}

TEST_P(PhotoNamesTest, ARenamedPictureTakesItsRowAlone) {
    PictureAdd(Own(".jpg"));
    PictureAdd(Sibling(".jpg"));
    fs::rename(Own(".jpg"), Path("new.jpg"));
    EXPECT_EQ(PhotoPathRename(Path("new.jpg").c_str(), Own(".jpg").c_str(), 0), 0);
    EXPECT_EQ(Count("photo_image", Path("new.jpg")), "1");
    EXPECT_EQ(Count("photo_image", Sibling(".jpg")), "1");
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image"), "2");
}

TEST_P(PhotoNamesTest, ADirectoryThatIsGoneLosesItsRowsAlone) {
    for (const std::string table : {"photo_image", "video_desc", "video_comment"})
        for (const std::string &path : {Own("/1.jpg"), Sibling("/1.jpg")})
            ASSERT_EQ(PhotoDBExec(("insert into " + table + " (path) values (" + Quoted(path) + ")").c_str()),
                      1);
    EXPECT_EQ(IndexDirWalk(Own().c_str(), kIndexRemove, kWalkMedia | kWalkPhotoLibrary), 0);
    for (const char *table : {"photo_image", "video_desc", "video_comment"}) {
        EXPECT_EQ(Count(table, Own("/1.jpg")), "0");
        EXPECT_EQ(Count(table, Sibling("/1.jpg")), "1");
    }
}

TEST_P(PhotoNamesTest, TheTablesOfVideosFollowARename) {
    const std::string tables[] = {"video_desc", "video_comment"};
    for (int table : {1, 2}) {
        for (const std::string &path : {Own("/1.mp4"), Sibling("/1.mp4")})
            ASSERT_EQ(
                PhotoDBExec(
                    ("insert into " + tables[table - 1] + " (path) values (" + Quoted(path) + ")").c_str()),
                1);
        EXPECT_EQ(PhotoVideoInfoPathRename(table, Path("new/").c_str(), Own("/").c_str()), 0);
        EXPECT_EQ(Count(tables[table - 1], Path("new/1.mp4")), "1");
        EXPECT_EQ(Count(tables[table - 1], Sibling("/1.mp4")), "1");
        EXPECT_EQ(PhotoVideoInfoPathRename(table, Own("/").c_str(), Path("new/").c_str()), 0);
        EXPECT_EQ(Count(tables[table - 1], Own("/1.mp4")), "1");
    }
}

TEST_P(PhotoNamesTest, ARefreshKnowsItsRowsAndNoOthers) {
    PictureAdd(Own("/1.jpg"));
    PictureAdd(Sibling("/1.jpg"));
    FileWrite(Own("/2.jpg"), "x");
    PhotoDBExec("update photo_image set updated = '0'");
    const std::vector<std::string> entries = {"1.jpg", "2.jpg"};
    EXPECT_EQ(PhotoDirRefresh(Own().c_str(), &entries), 0);
    EXPECT_EQ(Count("photo_image", Own("/1.jpg"), "path", "updated = '1'"), "1");
    EXPECT_EQ(Count("photo_image", Sibling("/1.jpg"), "path", "updated = '0'"), "1");
    EXPECT_EQ(MediaPaths("photo"), Texts{Own("/2.jpg")}); // the one that was new
}

TEST_P(PhotoNamesTest, AResyncFindsItsPictureAndItsAlbum) {
    PictureAdd(Own("/1.jpg"));
    PictureAdd(Sibling("/1.jpg"));
    AlbumAdd(GetParam().name);
    AlbumAdd(GetParam().sibling);
    fs::remove_all(Sibling());
    EXPECT_EQ(PhotoLibraryResync(nullptr), 0);
    EXPECT_EQ(PhotoShareResync(nullptr), 0);
    EXPECT_EQ(Count("photo_image", Own("/1.jpg")), "1");
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image"), "1");
    EXPECT_EQ(Album(GetParam().name, "shareid = 1"), "1"); // the row of before
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_share"), "1");
}

TEST_P(PhotoNamesTest, ADeletedAlbumTakesItsSubAlbumsAlone) {
    for (const char *rest : {"", "/1"}) {
        AlbumAdd(GetParam().name + rest);
        AlbumAdd(GetParam().sibling + rest);
    }
    EXPECT_EQ(PhotoShareUpdate(Own().c_str(), 2), 0);
    for (const char *rest : {"", "/1"}) {
        EXPECT_EQ(Album(GetParam().name + rest), "0");
        EXPECT_EQ(Album(GetParam().sibling + rest), "1");
    }
}

TEST_P(PhotoNamesTest, ARenamedAlbumTakesItsSubAlbumsAndCoversAlone) {
    for (const char *rest : {"", "/1"}) {
        AlbumAdd(GetParam().name + rest);
        AlbumAdd(GetParam().sibling + rest);
    }
    PhotoDBExec("update photo_share set cover = '/var/services/photo/' || sharename || '/c.jpg'");
    EXPECT_EQ(PhotoShareRename(Path("new").c_str(), Own().c_str()), 0);
    const std::string own_cover = "cover = '/var/services/photo/' || sharename || '/c.jpg'";
    for (const char *rest : {"", "/1"}) {
        EXPECT_EQ(Album(std::string("new") + rest, own_cover), "1");
        EXPECT_EQ(Album(GetParam().sibling + rest, own_cover), "1");
    }
    EXPECT_EQ(PhotoShareRename(Own().c_str(), Path("new").c_str()), 0);
    EXPECT_EQ(Album(GetParam().name + "/1", own_cover), "1");
}

TEST_P(PhotoNamesTest, MarksOfAnAlbumsSubAlbumsAreThoseAlone) {
    for (const char *rest : {"", "/1"}) {
        AlbumAdd(GetParam().name + rest);
        AlbumAdd(GetParam().sibling + rest);
    }
    EXPECT_EQ(PhotoShareMarkAll(GetParam().name.c_str()), 0);
    EXPECT_EQ(Album(GetParam().name + "/1", "updated = '0'"), "1");
    EXPECT_EQ(Album(GetParam().sibling + "/1", "updated = '1'"), "1");
    PhotoDBExec("update photo_share set updated = '0'");
    EXPECT_EQ(PhotoShareSweep(GetParam().name.c_str()), 0);
    EXPECT_EQ(Album(GetParam().name + "/1"), "0");
    EXPECT_EQ(Album(GetParam().name) + Album(GetParam().sibling) + Album(GetParam().sibling + "/1"), "111");
}

TEST_P(PhotoNamesTest, ASubAlbumTakesOverFromItsAlbum) {
    FileWrite("/etc/veluinfo.conf", "albumdefpublic=\"no\"\n");
    AlbumAdd(GetParam().sibling);
    AlbumAdd(GetParam().name);
    PhotoDBExec("insert into photo_access_right values (7, 2, 'x')");
    PhotoDBExec("insert into photo_access_right values (8, 1, 'x')");
    AlbumAdd(GetParam().name + "/1");
    EXPECT_EQ(PhotoQuery("select userid as x from photo_access_right where shareid = 3"), "7");
}
