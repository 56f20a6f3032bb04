// SPDX-License-Identifier: GPL-2.0-or-later
//
// Rows of the photo catalogue.
#include "catalogue_fixture.h"

#include "platform/photo_record.h"

namespace {

class PhotoStore : public CatalogueStore {};
ON_ALL_ENGINES(PhotoStore);

int SavePhoto(const std::string &path, const std::string &title = "title", int mode = 1) {
    PhotoRecord record = {};
    Copy(record.path, sizeof record.path, path);
    Copy(record.title, sizeof record.title, title);
    return PhotoInfoDBSave(&record, mode);
}

TEST_P(PhotoStore, BothSpellingsOfABooleanAreOneStoredValue) {
    EXPECT_EQ(PhotoDBExec(
                  "Insert into photo_share values(1, 'Trips', '', '', 'true', 0, '', 'true', 'false', '1');"),
              1);
    EXPECT_EQ(
        PhotoDBExec("Insert into photo_share values(2, 'T2', '', '', 'false', 0, '', 'true', 'true', '1');"),
        1);
    EXPECT_EQ(PhotoDBExec("Update photo_share set is_subdir = 't' where sharename = 'Trips'"), 1);
    EXPECT_EQ(PhotoDBExec("Update photo_share set public = 'f' where public = 't'"), 1);
    EXPECT_EQ(PhotoDBExec("Update photo_share set updated = '0'"), 2);
    Peer peer(photo_uri);
    const auto field = [&](const std::string &column) {
        return peer.Query("select " + column + " as x from photo_share order by shareid");
    };
    EXPECT_EQ(field("public"), "f|f");
    EXPECT_EQ(field("allow_comment"), "t|t");
    EXPECT_EQ(field("is_subdir"), "t|t");
    EXPECT_EQ(field("updated"), "0|0");
}

TEST_P(PhotoStore, PhotoExecFailureIsOneLine) {
    LogCatcher log;
    EXPECT_EQ(PhotoDBExec("delete from nowhere"), -1);
    EXPECT_EQ(log.Lines("nowhere").size(), 1u);
    EXPECT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(PhotoDBExec("delete from photo_share"), 0);
}

TEST_P(PhotoStore, PhotoTreeDeleteTakesItsThreeTables) {
    for (const char *table : {"photo_image", "video_desc", "video_comment"})
        for (const char *path : {"/p/a", "/p/a/1", "/p/a/b/2", "/p/ab", "/p/a0", "/p"})
            ASSERT_EQ(PhotoDBExec(
                          (std::string("insert into ") + table + " (path) values ('" + path + "')").c_str()),
                      1);
    ASSERT_EQ(PhotoInfoDBDirDelete("/p/a/"), 0);
    for (const char *table : {"photo_image", "video_desc", "video_comment"})
        EXPECT_EQ(PhotoPaths(table), "/p|/p/a0|/p/ab") << table;
    EXPECT_EQ(Peer(photo_uri).Query("select count(distinct id) as x from photo_image"), "3")
        << "keys are given out";
    ASSERT_EQ(PhotoInfoDBDelete("/p/ab"), 0);
    EXPECT_EQ(PhotoPaths("photo_image"), "/p|/p/a0");
}

TEST_P(PhotoStore, PathListsKeepTheOrderOfTheRows) {
    for (const char *path : {"/b", "/a", "/c"})
        ASSERT_EQ(Save(kMediaVideo, path), 0);
    VELUIndexRows *rows = MediaInfoDBOpen(1, nullptr, nullptr, "path desc", 0);
    PhotoPathList *list = PhotoPathDBGet(rows);
    MediaInfoDBClose(rows);
    std::string all;
    for (const PhotoPathList *node = list; node != nullptr; node = node->next)
        all += node->path;
    EXPECT_EQ(all, "/c/b/a");
    FreePhotoPathList(list);
    EXPECT_EQ(PhotoPathDBGet(nullptr), nullptr);
    FreePhotoPathList(nullptr);
}

TEST_P(PhotoStore, PhotoSaveWritesEveryColumnAndSetsTheMark) {
    PhotoRecord record = {};
    Copy(record.path, sizeof record.path, "/volume1/photo/T/\xe9.jpg");
    Copy(record.name, sizeof record.name, "\xe9.jpg");
    Copy(record.title, sizeof record.title, "Title");
    Copy(record.description, sizeof record.description, "it's");
    Copy(record.album, sizeof record.album, "T");
    Copy(record.make, sizeof record.make, "Make");
    Copy(record.model, sizeof record.model, "Model");
    Copy(record.exposure, sizeof record.exposure, "1/60");
    Copy(record.fnumber, sizeof record.fnumber, "f/2.8");
    Copy(record.date_taken, sizeof record.date_taken, "2008:01:02 03:04:05");
    Copy(record.create_time, sizeof record.create_time, "Fri Jan  2 03:04:05 2009");
    record.width = 640;
    record.height = 480;
    record.iso = 400;
    record.file_size = int64_t{1} << 40;
    ASSERT_EQ(PhotoInfoDBSave(&record, 1), 0);
    const std::string all =
        "select id||','||path||','||name||','||title||','||description||','||album||','||make||','||"
        "model||','||exposure||','||fnumber||','||date_taken||','||create_time||','||width||','||"
        "height||','||iso||','||file_size||','||updated as x from photo_image";
    Peer peer(photo_uri);
    EXPECT_EQ(peer.Query(all), "1,/volume1/photo/T/\xe9.jpg,\xc3\xa9.jpg,Title,it's,T,Make,Model,1/60,f/2.8,"
                               "2008:01:02 03:04:05,Fri Jan  2 03:04:05 2009,640,480,400,1099511627776,1");
    Copy(record.title, sizeof record.title, "New");
    ASSERT_EQ(PhotoInfoDBSave(&record, 5), 0);
    EXPECT_EQ(peer.Query("select id || title as x from photo_image"), "1New") << "the row keeps its key";
    EXPECT_EQ(PhotoInfoDBSave(&record, 2), -1);
    EXPECT_EQ(PhotoInfoDBSave(nullptr, 1), -1);
    EXPECT_EQ(SavePhoto(""), -1);
}

// What users read about the picture of a path.
std::string Typed(const std::string &path) {
    return Peer(photo_uri).Query("select title || '/' || description as x from photo_image where path = '" +
                                 path + "'");
}

int SaveTyped(const std::string &path, const std::string &title, const std::string &description,
              unsigned handed_over) {
    PhotoRecord record = {};
    Copy(record.path, sizeof record.path, path);
    Copy(record.title, sizeof record.title, title);
    Copy(record.description, sizeof record.description, description);
    return PhotoInfoDBSaveHandedOver(&record, kIndexUpdate, handed_over);
}

TEST_P(PhotoStore, ARowKeepsWhatUsersTypedUntilTheyHandOverSomethingElse) {
    const std::string path = "/p/a.b.jpg";
    ASSERT_EQ(SaveTyped(path, "a.b", "", 0), 0);
    EXPECT_EQ(Typed(path), "a.b/") << "a new row has the record's";
    ASSERT_EQ(PhotoDBExec("update photo_image set title = 'Holiday', description = 'At sea'"), 1);
    ASSERT_EQ(SaveTyped(path, "a.b", "", 0), 0);
    EXPECT_EQ(Typed(path), "Holiday/At sea");
    ASSERT_EQ(SaveTyped(path, "Trip", "not handed over", kPhotoTitle), 0);
    EXPECT_EQ(Typed(path), "Trip/At sea");
    ASSERT_EQ(SaveTyped(path, "not handed over", "", kPhotoDescription), 0);
    EXPECT_EQ(Typed(path), "Trip/") << "an empty text is one";
    ASSERT_EQ(SaveTyped(path, "a.b", "Ashore", kPhotoTitle | kPhotoDescription), 0);
    EXPECT_EQ(Typed(path), "a.b/Ashore");
    ASSERT_EQ(PhotoDBExec("update photo_image set title = '', description = null"), 1);
    ASSERT_EQ(SaveTyped(path, "a.b", "", 0), 0);
    EXPECT_EQ(Typed(path), "/");
    ASSERT_EQ(PhotoDBExec("update photo_image set title = null"), 1);
    ASSERT_EQ(SaveTyped(path, "a.b", "", 0), 0);
    EXPECT_EQ(Typed(path), "a.b/");
}

TEST_P(PhotoStore, WithoutKnowingATextOtherThanTheDefaultIsTakenAsHandedOver) {
    const std::string path = "/p/" + std::string(300, 'n') + ".jpg";
    ASSERT_EQ(SavePhoto(path, "Holiday"), 0);
    ASSERT_EQ(SavePhoto(path, std::string(254, 'n')), 0);
    EXPECT_EQ(Typed(path), "Holiday/");
    ASSERT_EQ(SavePhoto(path, "Trip"), 0);
    EXPECT_EQ(Typed(path), "Trip/");
    ASSERT_EQ(SavePhoto("/p/caf\xe9 .jpg", "Holiday"), 0);
    ASSERT_EQ(SavePhoto("/p/caf\xe9 .jpg", "caf\xe9 "), 0);
    EXPECT_EQ(Typed("/p/caf\xe9 .jpg"), "Holiday/");
}

// Renames a picture that has this title, and gives what it has then.
std::string TitleBehindRename(const std::string &old_path, const std::string &title,
                              const std::string &new_path) {
    EXPECT_GE(PhotoDBExec("delete from photo_image"), 0);
    EXPECT_EQ(SavePhoto(old_path, title), 0);
    std::string path = old_path;
    PhotoPathList list = {path.data(), nullptr};
    EXPECT_EQ(VELUUpdatePhotoPath(&list, new_path.c_str(), old_path.c_str()), 0);
    return Peer(photo_uri).Query("select title as x from photo_image where path = '" + new_path + "'");
}

TEST_P(PhotoStore, ARenameLeadsATitleByDefaultToThatOfTheNewName) {
    EXPECT_EQ(TitleBehindRename("/p/a.b.jpg", "a.b", "/p/c.d.jpg"), "c.d");
    EXPECT_EQ(TitleBehindRename("/p/a.b.jpg", "a", "/p/c.d.jpg"), "a") << "somebody has typed it";
    EXPECT_EQ(TitleBehindRename("/p/a", "a", "/p.q/b"), "b");
    EXPECT_EQ(TitleBehindRename("/p/ caf\xe9 .jpg", " caf\xe9 ", "/p/tea.jpg"), "tea");
    EXPECT_EQ(TitleBehindRename("/p/tea.jpg", "tea", "/p/ caf\xe9 .jpg"), "caf\xc3\xa9");
    const std::string long_name(253, 'n');
    EXPECT_EQ(TitleBehindRename("/p/" + long_name + "\xc3\xa9.jpg", long_name + "\xc3", "/p/b.jpg"), "b")
        << "the half of a character at the cut does not count";
    EXPECT_EQ(TitleBehindRename("/p/b.jpg", "b", "/p/" + std::string(300, 'n') + ".jpg"),
              std::string(254, 'n'));
}

TEST_P(PhotoStore, PhotoSweepTakesUnmarkedRows) {
    for (const char *path : {"/p/1", "/p/2", "/p/3"})
        ASSERT_EQ(SavePhoto(path), 0);
    ASSERT_EQ(PhotoDBExec("insert into photo_image (path) values ('/p/4')"), 1);
    ASSERT_EQ(VELUPhotoInitAllRows(), 0);
    ASSERT_EQ(SavePhoto("/p/2", "title", 5), 0);
    ASSERT_EQ(VELUPhotoDeleteNoUpdateRows(), 0);
    EXPECT_EQ(PhotoPaths("photo_image"), "/p/2");
}

TEST_P(PhotoStore, VideoStatusKeepsWhatAUserWrote) {
    ASSERT_EQ(VELUIndexPhotoUpdateVideoStatus("/p/v.avi"), 0);
    ASSERT_EQ(PhotoDBExec("update video_desc set title = 'mine', updated = '0'"), 1);
    ASSERT_EQ(VELUIndexPhotoUpdateVideoStatus("/p/v.avi"), 0);
    EXPECT_EQ(Peer(photo_uri).Query("select path || title || updated as x from video_desc"), "/p/v.avimine1");
    EXPECT_EQ(VELUIndexPhotoUpdateVideoStatus(""), -1);
}

TEST_P(PhotoStore, RenamesRowsUnderTheOldPathOnly) {
    for (const char *path : {"/p/a/1.jpg", "/p/a/b/2.jpg", "/p/ab/3.jpg", "/p/n/1.jpg", "/q/p/a/4.jpg"})
        ASSERT_EQ(SavePhoto(path, path), 0);
    char paths[][32] = {"/p/a/1.jpg", "/p/a/b/2.jpg", "/p/ab/3.jpg", "/q/p/a/4.jpg", "/p/a/gone.jpg"};
    PhotoPathList list[5];
    for (int i = 0; i < 5; ++i)
        list[i] = {paths[i], i < 4 ? &list[i + 1] : nullptr};
    ASSERT_EQ(VELUUpdatePhotoPath(list, "/p/n", "/p/a"), 0);
    Peer peer(photo_uri);
    EXPECT_EQ(peer.Paths("photo_image"), "/p/ab/3.jpg|/p/n/1.jpg|/p/n/b/2.jpg|/q/p/a/4.jpg");
    EXPECT_EQ(peer.Query("select title as x from photo_image where path = '/p/n/1.jpg'"), "/p/a/1.jpg")
        << "the renamed row takes the place of the one that was there";
    EXPECT_EQ(peer.Query(
                  "select name || ',' || album as x from photo_image where path like '/p/n/%' order by path"),
              "1.jpg,n|2.jpg,b");
    PhotoPathList file = {paths[2], nullptr};
    ASSERT_EQ(VELUUpdatePhotoPath(&file, "/p/new.jpg", "/p/ab/3.jpg"), 0);
    EXPECT_EQ(peer.Paths("photo_image"), "/p/n/1.jpg|/p/n/b/2.jpg|/p/new.jpg|/q/p/a/4.jpg");
    PhotoPathList latin = {paths[0], nullptr};
    strcpy(paths[0], "/p/new.jpg");
    ASSERT_EQ(VELUUpdatePhotoPath(&latin, "/r/caf\xe9/caf\xe9", "/p/new.jpg"), 0);
    EXPECT_EQ(peer.Query("select name || ',' || album as x from photo_image where path like '/r/%'"),
              "caf\xc3\xa9,caf\xc3\xa9");
    strcpy(paths[0], "/r/caf\xe9/caf\xe9");
    ASSERT_EQ(VELUUpdatePhotoPath(&latin, "/p/new.jpg", paths[0]), 0);
    PhotoPathList same = {paths[3], nullptr};
    ASSERT_EQ(VELUUpdatePhotoPath(&same, "/q/p/a/", "/q/p/a"), 0);
    EXPECT_EQ(peer.Count("photo_image"), 4) << "a rename to itself removes nothing";
    EXPECT_EQ(VELUUpdatePhotoPath(list, "", "/p"), -1);
    EXPECT_EQ(VELUUpdatePhotoPath(list, "/p", nullptr), -1);
    EXPECT_EQ(VELUUpdatePhotoPath(nullptr, "/p", "/q"), 0);
}

constexpr int kMany = 149; // several portions of what is renamed at once, and a rest

// Renames as many rows from /p/a to `to`, with one list or with a list each. Gives the rows afterwards.
std::string RenameMany(const std::string &to, bool one_list) {
    VELUIndexRunBegin();
    EXPECT_GE(PhotoDBExec("delete from photo_image"), 0);
    std::vector<std::string> paths;
    for (int i = 0; i < kMany; ++i) {
        paths.push_back("/p/a" + std::string(i % 3 == 0 ? "/it's \xff" : "") + "/" + std::to_string(i) +
                        ".jpg");
        EXPECT_EQ(SavePhoto(paths.back(), std::to_string(i)), 0);
    }
    for (const char *other : {"/p/ab/1.jpg", "/p/full/77.jpg", "/q/1.jpg"})
        EXPECT_EQ(SavePhoto(other), 0);
    std::vector<PhotoPathList> list;
    for (std::string &path : paths)
        list.push_back({path.data(), nullptr});
    for (size_t i = 0; one_list && i + 1 < list.size(); ++i)
        list[i].next = &list[i + 1];
    for (size_t i = 0; i < (one_list ? 1 : list.size()); ++i)
        EXPECT_EQ(VELUUpdatePhotoPath(&list[i], to.c_str(), "/p/a"), 0);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    return Peer(photo_uri).Query(
        "select path || ':' || name || ':' || album || ':' || title as x from photo_image order by path");
}

TEST_P(PhotoStore, ManyRowsAreRenamedAsEachByItself) {
    for (const char *to : {"/p/n", "/p/full", "/p", "/p/a/it's \xff", "/r/it's"}) {
        const std::string rows = RenameMany(to, true);
        EXPECT_EQ(rows, RenameMany(to, false)) << to;
        EXPECT_NE(rows.find(std::string(to) + "/it's \xff/148.jpg:148.jpg:") == std::string::npos,
                  kMany % 3 == 0)
            << rows;
    }
}

TEST_P(PhotoStore, ARowThatCannotBeRenamedCostsItselfOnly) {
    ASSERT_EQ(SavePhoto("/p/a/0.jpg"), 0);
    Peer peer(photo_uri);
    const char *check = OnSqlite()
                            ? "create trigger bad before update on photo_image when new.path = '/n/77.jpg' "
                              "begin select raise(abort, 'bad row'); end"
                            : "alter table photo_image add constraint bad check (path <> '/n/77.jpg')";
    ASSERT_EQ(peer.Exec(check), 0);
    std::vector<std::string> paths;
    std::vector<PhotoPathList> list(kMany);
    VELUIndexRunBegin();
    for (int i = 0; i < kMany; ++i) {
        paths.push_back("/p/a/" + std::to_string(i) + ".jpg");
        ASSERT_EQ(SavePhoto(paths.back()), 0);
    }
    for (size_t i = 0; i < list.size(); ++i)
        list[i] = {paths[i].data(), i + 1 < list.size() ? &list[i + 1] : nullptr};
    LogCatcher log;
    EXPECT_EQ(VELUUpdatePhotoPath(list.data(), "/n", "/p/a"), -1);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(peer.Query("select count(*) as x from photo_image where path like '/n/%'"),
              std::to_string(kMany - 1));
    EXPECT_EQ(peer.Query("select path as x from photo_image where path like '/p/a/%'"), "/p/a/77.jpg");
    EXPECT_EQ(log.Lines("[/n/77.jpg]").size(), 1u);
}

} // namespace
