// SPDX-License-Identifier: GPL-2.0-or-later
//
// Saving, removing and reading rows of the media catalogue.
#include "catalogue_fixture.h"

#include "platform/index/statements.h"

namespace {

ON_ALL_ENGINES(CatalogueStore);

TEST_P(CatalogueStore, AStatementAboutATableThatIsNoneIsRefused) {
    ASSERT_EQ(MediaInfoDBDirSave("/volume1/music"), 0); // makes the tables
    Peer peer;
    const std::string known = StatementText(StatementOf(StoreOperation::removeRow, "music"));
    EXPECT_GE(VELUDBPrepare(peer.db, known.c_str()), 0) << known;
    const std::string unknown = StatementText(StatementOf(StoreOperation::removeRow, "musics"));
    EXPECT_LT(VELUDBPrepare(peer.db, unknown.c_str()), 0) << unknown;
}

TEST_P(CatalogueStore, SaveWritesEveryColumn) {
    MediaInfo record = Record("/volume1/music/a.mp3", "Title");
    Copy(record.album, sizeof record.album, "Album");
    Copy(record.artist, sizeof record.artist, "Artist");
    Copy(record.genre, sizeof record.genre, "Genre");
    Copy(record.composer, sizeof record.composer, "Composer");
    Copy(record.comment, sizeof record.comment, "Comment");
    Copy(record.create_time, sizeof record.create_time, "2009-01-02 03:04:05");
    Copy(record.modify_time, sizeof record.modify_time, "2009-01-02 03:04:06");
    Copy(record.camera_make, sizeof record.camera_make, "Make");
    Copy(record.camera_model, sizeof record.camera_model, "Model");
    Copy(record.exposure_time, sizeof record.exposure_time, "1/60");
    Copy(record.f_number, sizeof record.f_number, "f/2.8");
    Copy(record.date_taken, sizeof record.date_taken, "2008-1-2 3:4:5");
    record.track = 3;
    record.disc = 2;
    record.year = 1999;
    record.duration = 12.5f;
    record.audio_bitrate = 128000;
    record.video_bitrate = UINT32_MAX;
    record.sample_rate = 44100;
    record.channels = 2;
    record.width = 640;
    record.height = 480;
    record.file_size = 1ull << 40;
    record.has_cover = 1;
    record.iso_speed = 400;
    for (int kind = 0; kind < 4; ++kind) {
        ASSERT_EQ(MediaInfoDBSave(kind, &record), 0);
        EXPECT_EQ(
            Peer().Query(
                std::string(
                    "select path||','||title||','||album||','||artist||','||genre||','||composer||','||"
                    "comment||','||track||','||disc||','||year||','||duration||','||audio_bitrate||','||"
                    "video_bitrate||','||sample_rate||','||channels||','||width||','||height||','||"
                    "file_size||','||create_time||','||modify_time||','||has_cover||','||camera_make||','||"
                    "camera_model||','||exposure_time||','||f_number||','||date_taken||','||iso_speed "
                    "as x from ") +
                kTables[kind]),
            "/volume1/music/"
            "a.mp3,Title,Album,Artist,Genre,Composer,Comment,3,2,1999,12.5,128000,4294967295,44100,"
            "2,640,480,1099511627776,2009-01-02 03:04:05,2009-01-02 03:04:06,1,Make,Model,1/60,f/2.8,"
            "2008-1-2 3:4:5,400");
    }
}

TEST_P(CatalogueStore, SaveReplacesTheRowOfItsPath) {
    ASSERT_EQ(Save(0, "/a", "old"), 0);
    ASSERT_EQ(Save(0, "/a", "new"), 0);
    EXPECT_EQ(Peer().Query("select title as x from music"), "new");
}

TEST_P(CatalogueStore, SaveMakesTextAndNumbersValidAndLeavesTheRecordAlone) {
    MediaInfo record = Record("/\xff\xfe/'\"%_\\\x01", " caf\xe9\x01 ");
    const char utf16[] = "\xff\xfe"
                         "A\0\xac\x20\0";
    memcpy(record.album, utf16, sizeof utf16);
    record.album_utf16 = 1;
    record.duration = NAN;
    record.track = -1;
    record.disc = INT32_MIN;
    record.file_size = UINT64_MAX;
    record.has_cover = 7;
    const MediaInfo before = record;
    ASSERT_EQ(MediaInfoDBSave(0, &record), 0);
    EXPECT_EQ(memcmp(&before, &record, sizeof record), 0);
    Peer peer;
    EXPECT_EQ(peer.Query("select path as x from music"), record.path) << "the key is stored byte by byte";
    EXPECT_EQ(peer.Query("select title as x from music"), "caf\xc3\xa9");
    EXPECT_EQ(peer.Query("select album as x from music"), "A\xe2\x82\xac");
    EXPECT_EQ(peer.Query("select duration as x from music"), "0");
    EXPECT_EQ(
        peer.Query("select track || ',' || disc || ',' || file_size || ',' || has_cover as x from music"),
        "0,0,9223372036854775807,1");
    EXPECT_EQ(MediaInfoDBDelete(0, record.path), 0);
    EXPECT_EQ(peer.Count("music"), 0);
}

TEST_P(CatalogueStore, BadArgumentsFailWithOneLineEach) {
    const MediaInfo good = Record("/a");
    const MediaInfo nameless = Record("");
    LogCatcher log;
    EXPECT_EQ(MediaInfoDBSave(-1, &good), -1);
    EXPECT_EQ(MediaInfoDBSave(4, &good), -1);
    EXPECT_EQ(MediaInfoDBSave(kMediaTree, &good), -1);
    EXPECT_EQ(MediaInfoDBSave(0, nullptr), -1);
    EXPECT_EQ(MediaInfoDBSave(0, &nameless), -1);
    EXPECT_EQ(MediaInfoDBDelete(4, "/a"), -1);
    EXPECT_EQ(MediaInfoDBDelete(0, nullptr), -1);
    EXPECT_EQ(MediaInfoDBDelete(0, ""), -1);
    EXPECT_EQ(MediaInfoDBDirSave(nullptr), -1);
    EXPECT_EQ(MediaInfoDBDirSave(""), -1);
    EXPECT_EQ(PhotoInfoDBDirDelete(nullptr), -1);
    EXPECT_EQ(PhotoInfoDBDirDelete("//"), -1);
    EXPECT_EQ(PhotoInfoDBDelete(""), -1);
    EXPECT_EQ(PhotoDBExec(nullptr), -1);
    EXPECT_EQ(log.Lines("Bad parameter.").size(), 14u);
    EXPECT_EQ(log.Lines().size(), 14u);
}

TEST_P(CatalogueStore, ATreeWithoutANameIsRefused) {
    ASSERT_EQ(Save(0, "/a"), 0);
    for (const char *path : {"", "/", "///"})
        EXPECT_EQ(MediaInfoDBDelete(kMediaTree, path), -1) << path;
    EXPECT_EQ(Paths("music"), "/a");
}

TEST_P(CatalogueStore, DeleteOfAKindTakesOneRowOfOneTable) {
    VELUIndexRunBegin();
    for (int kind = 0; kind < 4; ++kind)
        for (const char *path : {"/a", "/a/b", "/ab"})
            ASSERT_EQ(Save(kind, path), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaVideo, "/a"), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaVideo, "/not there"), 0);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(Paths("video"), "/a/b|/ab");
    EXPECT_EQ(Paths("music"), "/a|/a/b|/ab");
}

TEST_P(CatalogueStore, TreeDeleteTakesThePathAndWhatLiesUnderItOnly) {
    const char *paths[] = {"/v/a_b",   "/v/a_b/1", "/v/a_b/c/2", "/v/a_b/\xff", "/v/axb",
                           "/v/axb/1", "/v/a_b0",  "/v/a_b.x",   "/v/a_bc/1",   "/v/A_B/1",
                           "/v/a_b ",  "/v/a_",    "/w/v/a_b/1"};
    VELUIndexRunBegin();
    for (const char *path : paths) {
        for (int kind = 0; kind < 4; ++kind)
            ASSERT_EQ(Save(kind, path), 0);
        ASSERT_EQ(MediaInfoDBDirSave(path), 0);
    }
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/v/a_b//"), 0);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    for (const char *table : {"music", "video", "photo", "playlist", "directory"})
        EXPECT_EQ(Paths(table),
                  "/v/A_B/1|/v/a_|/v/a_b |/v/a_b.x|/v/a_b0|/v/a_bc/1|/v/axb|/v/axb/1|/w/v/a_b/1")
            << table;
}

TEST_P(CatalogueStore, TreeDeleteMindsNoPatternOrQuote) {
    for (const char *path : {"/%", "/%/1", "/x/1", "/it's", "/it's/1", "/\\", "/\\/1", "/\xe4/1", "/\xe5/1"})
        ASSERT_EQ(Save(0, path), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/%"), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/it's"), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/\\"), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/\xe4"), 0);
    EXPECT_EQ(Paths("music"), "/x/1|/\xe5/1");
}

TEST_F(SqliteStore, TreeDeleteSearchesTheIndex) {
    ASSERT_EQ(Save(0, "/a"), 0);
    Peer peer;
    const int statement = VELUDBPrepare(
        peer.db,
        ("explain query plan " + StatementText(StatementOf(StoreOperation::removeTree, "music"))).c_str());
    const VELUDBValue values[] = {VELUDBValue::Text("/a", 2), VELUDBValue::Text("/a/", 3),
                                  VELUDBValue::Text("/a0", 3)};
    VELUDBResult *rows = nullptr;
    ASSERT_EQ(VELUDBRun(peer.db, statement, values, 3, &rows), 0);
    std::string plan;
    for (int row = -1; VELUDBFetchRow(rows, &row) == 0;)
        plan += std::string(VELUDBFetchField(rows, row, "detail")) + "\n";
    VELUDBFreeResult(rows);
    EXPECT_NE(plan.find("INDEX sqlite_autoindex_music_1 (path=?)"), std::string::npos) << plan;
    EXPECT_NE(plan.find("INDEX sqlite_autoindex_music_1 (path>? AND path<?)"), std::string::npos) << plan;
    EXPECT_EQ(plan.find("SCAN"), std::string::npos) << plan;
}

TEST_P(CatalogueStore, DirSaveKeepsTheLastComponentAndTheTimes) {
    ASSERT_EQ(MediaInfoDBDirSave("/tmp/"), 0);
    Peer peer;
    EXPECT_EQ(peer.Query("select path || ',' || title as x from directory"), "/tmp,tmp");
    EXPECT_EQ(peer.Query("select length(modify_time) || ',' || length(create_time) as x from directory"),
              "19,19");
    ASSERT_EQ(MediaInfoDBDirSave("/gone/D\xe9j\xe0"), 0);
    EXPECT_EQ(peer.Query("select title as x from directory where path like '/gone/%'"), "D\xc3\xa9j\xc3\xa0");
    ASSERT_EQ(MediaInfoDBDirSave("/cut/caf\xe9"), 0);
    ASSERT_EQ(MediaInfoDBDirSave("/cut/caf\xc3\xa9\xc3"), 0);
    EXPECT_EQ(peer.Query("select title as x from directory where path like '/cut/%' order by path"),
              "caf\xc3\xa9|caf\xc3\xa9");
}

TEST_P(CatalogueStore, RemovedRowsTakeTheirCoversAlong) {
    const auto cover_of = [](const std::string &path) {
        MediaInfo record = Record(path);
        record.has_cover = 1;
        EXPECT_EQ(MediaInfoDBSave(kMediaMusic, &record), 0);
        char file[4096];
        EXPECT_EQ(GetCoverPath(path.c_str(), file, sizeof file, 3, 1, kCoverJpeg), 1);
        std::ofstream(file) << "picture";
        EXPECT_TRUE(std::filesystem::exists(file));
        return std::string(file);
    };
    VELUIndexRunBegin();
    const std::string single = cover_of("/m/single.mp3");
    std::vector<std::string> tree;
    for (int i = 0; i < 450; ++i) // more than one portion
        tree.push_back(cover_of("/m/tree/" + std::to_string(i) + ".mp3"));
    const std::string sibling = cover_of("/m/tree2/a.mp3");
    ASSERT_EQ(MediaInfoDBDelete(kMediaMusic, "/m/single.mp3"), 0);
    EXPECT_FALSE(std::filesystem::exists(single));
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/m/tree"), 0);
    for (const std::string &file : tree)
        ASSERT_FALSE(std::filesystem::exists(file)) << file;
    EXPECT_TRUE(std::filesystem::exists(sibling));
    ASSERT_EQ(VELUTruncateTable("music"), 0);
    EXPECT_FALSE(std::filesystem::exists(sibling));
    ASSERT_EQ(VELUIndexRunEnd(), 0);
}

TEST_P(CatalogueStore, DirtyMarkersAreSetBySavesAndDeletes) {
    ASSERT_EQ(Save(kMediaPhoto, "/a/p"), 0);
    ASSERT_EQ(Save(kMediaPlaylist, "/a/l"), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaPhoto, "/a/p"), 0);
    ASSERT_EQ(MediaInfoDBDirSave("/a"), 0);
    ASSERT_EQ(VELUTruncateTable("playlist"), 0);
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 0);
    EXPECT_EQ(BlVELUIndexIsVideoTableDirty(), 0);
    ASSERT_EQ(Save(kMediaMusic, "/a/m"), 0);
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 1);
    EXPECT_EQ(BlVELUIndexIsVideoTableDirty(), 0);
    VELUIndexMusicTableDirtySet(0);
    ASSERT_EQ(Save(kMediaVideo, "/a/v"), 0);
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 0);
    EXPECT_EQ(BlVELUIndexIsVideoTableDirty(), 1);
}

// A request that is carried out again after a crash finds its rows gone, and programs still have to be told.
TEST_P(CatalogueStore, DirtyMarkersAreSetByADeleteThatIsDoneAgain) {
    ASSERT_EQ(MediaInfoDBDelete(kMediaVideo, "/a"), 0);
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 0);
    EXPECT_EQ(BlVELUIndexIsVideoTableDirty(), 1);
    VELUIndexVideoTableDirtySet(0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/a"), 0);
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 1);
    EXPECT_EQ(BlVELUIndexIsVideoTableDirty(), 1);
    VELUIndexMusicTableDirtySet(0);
    VELUIndexVideoTableDirtySet(0);
    ASSERT_EQ(VELUTruncateTable("music"), 0);
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 1);
    EXPECT_EQ(BlVELUIndexIsVideoTableDirty(), 0);
}

TEST_P(CatalogueStore, TruncateTakesOnlyTheCataloguesTables) {
    ASSERT_EQ(Save(0, "/a"), 0);
    for (const char *name : {"music", "video", "photo", "playlist", "directory", "photo_image", "video_desc",
                             "video_comment", "photo_share", "photo_access_right"})
        EXPECT_EQ(VELUTruncateTable(name), 0) << name;
    EXPECT_EQ(Paths("music"), "");
    LogCatcher log;
    for (const char *name :
         {"", "schema_version", "MUSIC", "music; drop table video", "sqlite_master", " music"})
        EXPECT_EQ(VELUTruncateTable(name), -1) << name;
    EXPECT_EQ(VELUTruncateTable(nullptr), -1);
    EXPECT_EQ(log.Lines("There is no table").size(), 7u);
    EXPECT_EQ(log.Lines().size(), 7u);
}

TEST_P(CatalogueStore, OpenReadsRowsAndSeesTheOpenBatch) {
    VELUIndexRunBegin();
    for (const char *path : {"/a", "/b", "/c"})
        ASSERT_EQ(Save(kMediaVideo, path), 0);
    VELUIndexRows *rows = MediaInfoDBOpen(1, "path", "path >= '/b'", "path desc", 1);
    ASSERT_NE(rows, nullptr);
    const VELUDBResult *result = VELUIndexRowsResult(rows);
    ASSERT_EQ(VELUDBRowCount(result), 1);
    EXPECT_STREQ(VELUDBFetchField(result, 0, "path"), "/c");
    EXPECT_EQ(VELUDBExecute(VELUIndexRowsConnection(rows), "update video set path = '/d' where path = '/c'",
                            nullptr),
              1);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(Paths("video"), "/a|/b|/d");
    EXPECT_EQ(VELUDBExecute(VELUIndexRowsConnection(rows), "delete from video where path = '/d'", nullptr), 1)
        << "the connection lives as long as its rows";
    MediaInfoDBClose(rows);
    LogCatcher log;
    EXPECT_EQ(MediaInfoDBOpen(4, "*", nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(PhotoInfoDBOpen(-1, "*", nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(PhotoInfoDBOpen(0, "nonsense", nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(log.Lines().size(), 3u);
    EXPECT_EQ(VELUIndexRowsResult(nullptr), nullptr);
    EXPECT_EQ(VELUIndexRowsConnection(nullptr), nullptr);
    MediaInfoDBClose(nullptr);
}

} // namespace
