// SPDX-License-Identifier: GPL-2.0-or-later
//
// The catalogue operations on SQLite files at their real places, looked at through a second connection.
#include <gtest/gtest.h>
#include <math.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "log_catcher.h"
#include "platform/index/rows.h"
#include "platform/media_record.h"
#include "platform/photo_record.h"
#include "platform/veludb.h"
#include "platform/veluindex.h"

extern int sqlite_busy_milliseconds; // of the SQLite engine

namespace {

const std::string kFolder = "/var/lib/velu";
const std::string kMedia = "sqlite:/var/lib/velu/mediaserver.db";
const std::string kPhoto = "sqlite:/var/lib/velu/photo.db";
const std::string kConfig = "/etc/veluinfo.conf";
constexpr const char *kTables[] = {"music", "video", "photo", "playlist"};

void Copy(char *out, size_t size, const std::string &text) {
    memset(out, 0, size);
    memcpy(out, text.data(), std::min(size - 1, text.size()));
}

MediaInfo Record(const std::string &path, const std::string &title = "title") {
    MediaInfo record = {};
    Copy(record.path, sizeof record.path, path);
    Copy(record.title, sizeof record.title, title);
    return record;
}

int Save(int kind, const std::string &path, const std::string &title = "title") {
    const MediaInfo record = Record(path, title);
    return MediaInfoDBSave(kind, &record);
}

// Another program's connection.
struct Peer {
    explicit Peer(const std::string &uri = kMedia) : db(VELUDBOpen(uri.c_str())) {}
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;
    ~Peer() { VELUDBClose(db); }

    int Exec(const std::string &sql) { return VELUDBExecute(db, sql.c_str(), nullptr); }

    // The field x of all rows, joined by '|'; NULL is "-".
    std::string Query(const std::string &sql) {
        VELUDBResult *rows = nullptr;
        if (VELUDBExecute(db, sql.c_str(), &rows) < 0)
            return std::string("error: ") + VELUDBErrorGet(db);
        std::string all;
        for (int row = -1; VELUDBFetchRow(rows, &row) == 0;) {
            const char *field = VELUDBFetchField(rows, row, "x");
            all += (row > 0 ? "|" : "") + std::string(field != nullptr ? field : "-");
        }
        VELUDBFreeResult(rows);
        return all;
    }

    std::string Paths(const std::string &table) {
        return Query("select path as x from " + table + " order by path");
    }

    int Count(const std::string &table) { return atoi(Query("select count(*) as x from " + table).c_str()); }

    VELUDB *db;
};

// What another program sees at this moment.
std::string Paths(const std::string &table) {
    return Peer().Paths(table);
}
std::string PhotoPaths(const std::string &table) {
    return Peer(kPhoto).Paths(table);
}

class CatalogueStore : public testing::Test {
protected:
    void SetUp() override {
        Clean();
        std::filesystem::create_directories(kFolder);
    }
    void TearDown() override {
        VELUIndexRunEnd();
        sqlite_busy_milliseconds = timeout_;
        Clean();
        std::filesystem::create_directories(kFolder);
    }

    static void Clean() {
        std::filesystem::remove_all(kFolder);
        std::filesystem::remove(kConfig);
        VELUIndexMusicTableDirtySet(0);
        VELUIndexVideoTableDirtySet(0);
    }

private:
    const int timeout_ = sqlite_busy_milliseconds;
};

TEST_F(CatalogueStore, SaveWritesEveryColumn) {
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

TEST_F(CatalogueStore, SaveReplacesTheRowOfItsPath) {
    ASSERT_EQ(Save(0, "/a", "old"), 0);
    ASSERT_EQ(Save(0, "/a", "new"), 0);
    EXPECT_EQ(Peer().Query("select title as x from music"), "new");
}

TEST_F(CatalogueStore, SaveMakesTextAndNumbersValidAndLeavesTheRecordAlone) {
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
    EXPECT_EQ(peer.Query("select duration || ',' || track || ',' || disc || ',' || file_size || ',' || "
                         "has_cover as x from music"),
              "0.0,0,0,9223372036854775807,1");
    EXPECT_EQ(MediaInfoDBDelete(0, record.path), 0);
    EXPECT_EQ(peer.Count("music"), 0);
}

TEST_F(CatalogueStore, BadArgumentsFailWithOneLineEach) {
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

TEST_F(CatalogueStore, ATreeWithoutANameIsRefused) {
    ASSERT_EQ(Save(0, "/a"), 0);
    for (const char *path : {"", "/", "///"})
        EXPECT_EQ(MediaInfoDBDelete(kMediaTree, path), -1) << path;
    EXPECT_EQ(Paths("music"), "/a");
}

TEST_F(CatalogueStore, DeleteOfAKindTakesOneRowOfOneTable) {
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

TEST_F(CatalogueStore, TreeDeleteTakesThePathAndWhatLiesUnderItOnly) {
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

TEST_F(CatalogueStore, TreeDeleteMindsNoPatternOrQuote) {
    for (const char *path : {"/%", "/%/1", "/x/1", "/it's", "/it's/1", "/\\", "/\\/1", "/\xe4/1", "/\xe5/1"})
        ASSERT_EQ(Save(0, path), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/%"), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/it's"), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/\\"), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/\xe4"), 0);
    EXPECT_EQ(Paths("music"), "/x/1|/\xe5/1");
}

TEST_F(CatalogueStore, TreeDeleteSearchesTheIndex) {
    ASSERT_EQ(Save(0, "/a"), 0);
    Peer peer;
    const int statement =
        VELUDBPrepare(peer.db, ("explain query plan " + RemoveTreeStatement("music")).c_str());
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

TEST_F(CatalogueStore, DirSaveKeepsTheLastComponentAndTheTimes) {
    ASSERT_EQ(MediaInfoDBDirSave("/tmp/"), 0);
    Peer peer;
    EXPECT_EQ(peer.Query("select path || ',' || title as x from directory"), "/tmp,tmp");
    EXPECT_EQ(peer.Query("select length(modify_time) || ',' || length(create_time) as x from directory"),
              "19,19");
    ASSERT_EQ(MediaInfoDBDirSave("/gone/D\xe9j\xe0"), 0);
    EXPECT_EQ(peer.Query("select title as x from directory where path like '/gone/%'"), "D\xc3\xa9j\xc3\xa0");
}

TEST_F(CatalogueStore, RemovedRowsTakeTheirCoversAlong) {
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

TEST_F(CatalogueStore, DirtyMarkersFollowRealChanges) {
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/a"), 0);
    ASSERT_EQ(VELUTruncateTable("music"), 0);
    ASSERT_EQ(Save(kMediaPhoto, "/a/p"), 0);
    ASSERT_EQ(Save(kMediaPlaylist, "/a/l"), 0);
    ASSERT_EQ(MediaInfoDBDirSave("/a"), 0);
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 0);
    EXPECT_EQ(BlVELUIndexIsVideoTableDirty(), 0);
    ASSERT_EQ(Save(kMediaMusic, "/a/m"), 0);
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 1);
    EXPECT_EQ(BlVELUIndexIsVideoTableDirty(), 0);
    VELUIndexMusicTableDirtySet(0);
    ASSERT_EQ(Save(kMediaVideo, "/a/v"), 0);
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 0);
    EXPECT_EQ(BlVELUIndexIsVideoTableDirty(), 1);
    VELUIndexVideoTableDirtySet(0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaVideo, "/a"), 0);
    EXPECT_EQ(BlVELUIndexIsVideoTableDirty(), 0) << "no row was there";
    ASSERT_EQ(MediaInfoDBDelete(kMediaTree, "/a"), 0);
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 1);
    EXPECT_EQ(BlVELUIndexIsVideoTableDirty(), 1);
    ASSERT_EQ(Save(kMediaVideo, "/a/v"), 0);
    VELUIndexVideoTableDirtySet(0);
    ASSERT_EQ(VELUTruncateTable("video"), 0);
    EXPECT_EQ(BlVELUIndexIsVideoTableDirty(), 1);
}

TEST_F(CatalogueStore, TruncateTakesOnlyTheCataloguesTables) {
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

TEST_F(CatalogueStore, VacuumShrinksTheFileAndCommitsTheBatch) {
    VELUIndexRunBegin();
    for (int i = 0; i < 2000; ++i)
        ASSERT_EQ(Save(0, "/m/" + std::to_string(i), std::string(250, 'x')), 0);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    const auto full = std::filesystem::file_size("/var/lib/velu/mediaserver.db");
    VELUIndexRunBegin();
    ASSERT_EQ(VELUTruncateTable("music"), 0);
    ASSERT_EQ(Save(0, "/kept"), 0);
    EXPECT_EQ(MediaDBVacuum(), 0);
    EXPECT_EQ(Paths("music"), "/kept") << "committed before the end of the run";
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_LT(std::filesystem::file_size("/var/lib/velu/mediaserver.db"), full / 2);
    EXPECT_EQ(PhotoDBVacuum(), 0);
}

TEST_F(CatalogueStore, VacuumFailsWhileAnotherWriterHoldsTheDatabase) {
    ASSERT_EQ(Save(0, "/a"), 0);
    Peer peer;
    ASSERT_EQ(VELUDBBegin(peer.db), 0);
    sqlite_busy_milliseconds = 50;
    LogCatcher log;
    EXPECT_LT(MediaDBVacuum(), 0);
    EXPECT_EQ(log.Lines("locked").size(), 1u);
}

TEST_F(CatalogueStore, TheConfigurationNamesTheDatabases) {
    std::ofstream(kConfig) << "mediadb=\"sqlite:/tmp/other/m.db\"\nphotodb=\"sqlite:/tmp/other/p.db\"\n";
    EXPECT_EQ(Save(0, "/a"), 0);
    EXPECT_EQ(PhotoInfoDBDirDelete("/a"), 0);
    EXPECT_EQ(Peer("sqlite:/tmp/other/m.db").Paths("music"), "/a");
    EXPECT_TRUE(std::filesystem::exists("/tmp/other/p.db"));
    EXPECT_FALSE(std::filesystem::exists("/var/lib/velu/mediaserver.db"));
    std::filesystem::remove_all("/tmp/other");
}

TEST_F(CatalogueStore, ReadersSeeWholeBatchesOnly) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer reader;
    VELUIndexRunBegin();
    for (int i = 0; i < 499; ++i)
        ASSERT_EQ(Save(0, "/m/" + std::to_string(i)), 0);
    EXPECT_EQ(reader.Count("music"), 1);
    ASSERT_EQ(Save(0, "/m/499"), 0);
    EXPECT_EQ(reader.Count("music"), 501) << "the batch is full";
    ASSERT_EQ(Save(0, "/m/500"), 0);
    EXPECT_EQ(reader.Count("music"), 501);
    ASSERT_EQ(VELUIndexRunFlush(), 0);
    EXPECT_EQ(reader.Count("music"), 502);
    ASSERT_EQ(Save(0, "/m/501"), 0);
    EXPECT_EQ(reader.Count("music"), 502);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(reader.Count("music"), 503);
}

TEST_F(CatalogueStore, ABatchOlderThanASecondIsCommittedByTheNextWrite) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer reader;
    VELUIndexRunBegin();
    ASSERT_EQ(Save(0, "/a"), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    EXPECT_EQ(reader.Count("music"), 1);
    ASSERT_EQ(Save(0, "/b"), 0);
    EXPECT_EQ(reader.Count("music"), 2);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
}

TEST_F(CatalogueStore, ABatchOfLongTextsIsCommittedEarly) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer reader;
    VELUIndexRunBegin();
    for (int i = 0; i < 300; ++i)
        ASSERT_EQ(Save(0, "/" + std::string(4000, 'x') + std::to_string(i)), 0);
    EXPECT_GT(reader.Count("music"), 1);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
}

TEST_F(CatalogueStore, ABadRowOfABatchLosesItselfOnly) {
    ASSERT_EQ(Save(0, "/first"), 0);
    // `abort` undoes the statement, `rollback` gives the whole transaction up.
    for (const std::string kind : {"abort", "rollback"}) {
        Peer peer;
        ASSERT_EQ(peer.Exec("create trigger bad before insert on music when new.title = 'bad' begin "
                            "select raise(" +
                            kind + ", 'bad row'); end"),
                  0);
        LogCatcher log;
        VELUIndexRunBegin();
        ASSERT_EQ(Save(0, "/1"), 0);
        ASSERT_EQ(Save(0, "/2"), 0);
        EXPECT_EQ(Save(0, "/3", "bad"), -1);
        ASSERT_EQ(Save(0, "/4"), 0);
        EXPECT_EQ(VELUIndexRunEnd(), 0) << "the store was there";
        EXPECT_EQ(peer.Paths("music"), "/1|/2|/4|/first") << kind;
        EXPECT_EQ(log.Lines().size(), 1u);
        EXPECT_EQ(log.Lines("[/3]").size(), 1u);
        EXPECT_EQ(log.Lines("bad row").size(), 1u);
        ASSERT_EQ(peer.Exec("drop trigger bad"), 0);
        ASSERT_EQ(peer.Exec("delete from music where path <> '/first'"), 3);
    }
}

TEST_F(CatalogueStore, ABatchWhoseCommitFailsIsWrittenRowByRow) {
    ASSERT_EQ(Save(0, "/first"), 0);
    Peer peer;
    ASSERT_EQ(peer.Exec("create table parent (x text primary key)"), 0);
    ASSERT_EQ(peer.Exec("create table child (x text references parent (x) deferrable initially deferred)"),
              0);
    ASSERT_EQ(peer.Exec("create table strict (x text check (x <> 'bad'))"), 0);
    ASSERT_EQ(
        peer.Exec("create trigger copy after insert on music begin insert into child values ('nobody'); "
                  "insert into strict values (new.title); end"),
        0);
    LogCatcher log;
    VELUIndexRunBegin();
    // On the run's first connection alone every row passes and the commit does not.
    VELUIndexRows *rows = MediaInfoDBOpen(0, "path", nullptr, nullptr, 0);
    ASSERT_EQ(VELUDBExecute(VELUIndexRowsConnection(rows), "pragma foreign_keys = on", nullptr), 0);
    ASSERT_EQ(VELUDBExecute(VELUIndexRowsConnection(rows), "pragma ignore_check_constraints = on", nullptr),
              0);
    ASSERT_EQ(Save(0, "/1"), 0);
    ASSERT_EQ(Save(0, "/2", "bad"), 0);
    ASSERT_EQ(Save(0, "/3"), 0);
    ASSERT_EQ(MediaInfoDBDelete(kMediaMusic, "/first"), 0);
    ASSERT_EQ(MediaInfoDBDirSave("/d"), 0);
    EXPECT_EQ(VELUIndexRunEnd(), 0) << "the store was there";
    EXPECT_EQ(peer.Paths("music"), "/1|/3") << "while the rows still hold the connection that failed";
    EXPECT_EQ(peer.Paths("directory"), "/d");
    EXPECT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines("[/2]").size(), 1u);
    EXPECT_EQ(log.Lines("CHECK constraint").size(), 1u);
    MediaInfoDBClose(rows);
}

TEST_F(CatalogueStore, AStoreLockedPastTheTimeoutFailsTheRunAndComesBack) {
    ASSERT_EQ(Save(0, "/first"), 0);
    sqlite_busy_milliseconds = 100;
    LogCatcher log;
    {
        Peer peer;
        ASSERT_EQ(VELUDBBegin(peer.db), 0);
        VELUIndexRunBegin();
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(Save(0, "/m/" + std::to_string(i)), -1);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)) << "one wait, not fifty";
        EXPECT_EQ(VELUIndexRunEnd(), -1);
    }
    EXPECT_EQ(log.Lines().size(), 50u) << "one line for each row";
    EXPECT_EQ(log.Lines("/m/49").size(), 1u);
    EXPECT_EQ(Save(0, "/back"), 0);
    EXPECT_EQ(Paths("music"), "/back|/first");
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 1);
}

TEST_F(CatalogueStore, AnUnreachableStoreIsOneLineForEachOperation) {
    std::filesystem::remove_all(kFolder);
    std::ofstream(kConfig) << "mediadb=\"sqlite:/proc/none/m.db\"\nphotodb=\"sqlite:/proc/none/p.db\"\n";
    LogCatcher log;
    EXPECT_EQ(Save(0, "/a"), -1);
    EXPECT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(MediaInfoDBDelete(kMediaTree, "/a"), -1);
    EXPECT_EQ(log.Lines().size(), 2u);
    EXPECT_EQ(PhotoInfoDBDirDelete("/a"), -1);
    EXPECT_EQ(log.Lines().size(), 3u);
    EXPECT_LT(PhotoDBVacuum(), 0);
    EXPECT_EQ(log.Lines().size(), 4u);
    EXPECT_EQ(VELUTruncateTable("music"), -1);
    EXPECT_EQ(log.Lines().size(), 5u);
    EXPECT_EQ(MediaInfoDBOpen(0, "*", nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(log.Lines().size(), 6u);
    VELUIndexRunBegin();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(Save(0, "/a"), -1);
    EXPECT_EQ(VELUIndexRunFlush(), -1);
    EXPECT_EQ(VELUIndexRunEnd(), -1);
    EXPECT_EQ(log.Lines().size(), 16u);
    EXPECT_EQ(BlVELUIndexIsMusicTableDirty(), 0);
    std::filesystem::remove(kConfig);
    EXPECT_EQ(Save(0, "/a"), 0);
}

TEST_F(CatalogueStore, ADamagedFileFailsAndIsNotReplaced) {
    std::ofstream("/var/lib/velu/mediaserver.db") << std::string(10000, 'x');
    LogCatcher log;
    EXPECT_EQ(Save(0, "/a"), -1);
    EXPECT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(std::filesystem::file_size("/var/lib/velu/mediaserver.db"), 10000u);
}

TEST_F(CatalogueStore, ANewerSchemaFailsAndIsLeftAlone) {
    ASSERT_EQ(Save(0, "/a"), 0);
    Peer peer;
    ASSERT_EQ(peer.Exec("update schema_version set version = 1000"), 1);
    LogCatcher log;
    EXPECT_EQ(Save(0, "/b"), -1);
    EXPECT_EQ(log.Lines("tables of version 1000").size(), 1u);
    EXPECT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(peer.Query("select version as x from schema_version"), "1000");
    EXPECT_EQ(peer.Paths("music"), "/a");
}

TEST_F(CatalogueStore, EachDatabaseHoldsItsTablesAndOneVersion) {
    ASSERT_EQ(Save(0, "/a"), 0);
    ASSERT_EQ(PhotoInfoDBDirDelete("/a"), 0);
    const std::string tables = "select name as x from sqlite_master where type = 'table' and name not like "
                               "'sqlite\\_%' order by name";
    Peer media;
    EXPECT_EQ(media.Query(tables), "directory|music|photo|playlist|schema_version|video");
    EXPECT_EQ(media.Query("select version as x from schema_version"), "1");
    Peer photo(kPhoto);
    EXPECT_EQ(photo.Query(tables),
              "photo_access_right|photo_image|photo_share|schema_version|video_comment|video_desc");
    EXPECT_EQ(photo.Query("select version as x from schema_version"), "1");
}

TEST_F(CatalogueStore, TheMakingOfTheTablesThatWasCutShortIsDoneAgain) {
    {
        Peer peer;
        ASSERT_EQ(peer.Exec("create table schema_version (version integer)"), 0);
    }
    EXPECT_EQ(Save(0, "/a"), 0);
    EXPECT_EQ(Peer().Query("select version as x from schema_version"), "1");
}

TEST_F(CatalogueStore, BothSpellingsOfABooleanAreOneStoredValue) {
    EXPECT_EQ(PhotoDBExec(
                  "Insert into photo_share values(1, 'Trips', '', '', 'true', 0, '', 'true', 'false', '1');"),
              1);
    EXPECT_EQ(
        PhotoDBExec("Insert into photo_share values(2, 'T2', '', '', 'false', 0, '', 'true', 'true', '1');"),
        1);
    EXPECT_EQ(PhotoDBExec("Update photo_share set is_subdir = 't' where sharename = 'Trips'"), 1);
    EXPECT_EQ(PhotoDBExec("Update photo_share set public = 'f' where public = 't'"), 1);
    EXPECT_EQ(PhotoDBExec("Update photo_share set updated = '0'"), 2);
    EXPECT_EQ(Peer(kPhoto).Query("select cast(public as text) || allow_comment || is_subdir || updated as x "
                                 "from photo_share order by shareid"),
              "ftt0|ftt0");
}

TEST_F(CatalogueStore, PhotoExecFailureIsOneLine) {
    LogCatcher log;
    EXPECT_EQ(PhotoDBExec("delete from nowhere"), -1);
    EXPECT_EQ(log.Lines("nowhere").size(), 1u);
    EXPECT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(PhotoDBExec("delete from photo_share"), 0);
}

TEST_F(CatalogueStore, PhotoTreeDeleteTakesItsThreeTables) {
    for (const char *table : {"photo_image", "video_desc", "video_comment"})
        for (const char *path : {"/p/a", "/p/a/1", "/p/a/b/2", "/p/ab", "/p/a0", "/p"})
            ASSERT_EQ(PhotoDBExec(
                          (std::string("insert into ") + table + " (path) values ('" + path + "')").c_str()),
                      1);
    ASSERT_EQ(PhotoInfoDBDirDelete("/p/a/"), 0);
    for (const char *table : {"photo_image", "video_desc", "video_comment"})
        EXPECT_EQ(PhotoPaths(table), "/p|/p/a0|/p/ab") << table;
    EXPECT_EQ(Peer(kPhoto).Query("select count(distinct id) as x from photo_image"), "3")
        << "keys are given out";
    ASSERT_EQ(PhotoInfoDBDelete("/p/ab"), 0);
    EXPECT_EQ(PhotoPaths("photo_image"), "/p|/p/a0");
}

TEST_F(CatalogueStore, OpenReadsRowsAndSeesTheOpenBatch) {
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

TEST_F(CatalogueStore, PathListsKeepTheOrderOfTheRows) {
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

int SavePhoto(const std::string &path, const std::string &title = "title", int mode = 1) {
    PhotoRecord record = {};
    Copy(record.path, sizeof record.path, path);
    Copy(record.title, sizeof record.title, title);
    return PhotoInfoDBSave(&record, mode);
}

TEST_F(CatalogueStore, PhotoSaveWritesEveryColumnAndSetsTheMark) {
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
    Peer peer(kPhoto);
    EXPECT_EQ(peer.Query(all), "1,/volume1/photo/T/\xe9.jpg,\xc3\xa9.jpg,Title,it's,T,Make,Model,1/60,f/2.8,"
                               "2008:01:02 03:04:05,Fri Jan  2 03:04:05 2009,640,480,400,1099511627776,1");
    Copy(record.title, sizeof record.title, "New");
    ASSERT_EQ(PhotoInfoDBSave(&record, 5), 0);
    EXPECT_EQ(peer.Query("select id || title as x from photo_image"), "1New") << "the row keeps its key";
    EXPECT_EQ(PhotoInfoDBSave(&record, 2), -1);
    EXPECT_EQ(PhotoInfoDBSave(nullptr, 1), -1);
    EXPECT_EQ(SavePhoto(""), -1);
}

TEST_F(CatalogueStore, PhotoSweepTakesUnmarkedRows) {
    for (const char *path : {"/p/1", "/p/2", "/p/3"})
        ASSERT_EQ(SavePhoto(path), 0);
    ASSERT_EQ(PhotoDBExec("insert into photo_image (path) values ('/p/4')"), 1);
    ASSERT_EQ(VELUPhotoInitAllRows(), 0);
    ASSERT_EQ(SavePhoto("/p/2", "title", 5), 0);
    ASSERT_EQ(VELUPhotoDeleteNoUpdateRows(), 0);
    EXPECT_EQ(PhotoPaths("photo_image"), "/p/2");
}

TEST_F(CatalogueStore, VideoStatusKeepsWhatAUserWrote) {
    ASSERT_EQ(VELUIndexPhotoUpdateVideoStatus("/p/v.avi"), 0);
    ASSERT_EQ(PhotoDBExec("update video_desc set title = 'mine', updated = '0'"), 1);
    ASSERT_EQ(VELUIndexPhotoUpdateVideoStatus("/p/v.avi"), 0);
    EXPECT_EQ(Peer(kPhoto).Query("select path || title || updated as x from video_desc"), "/p/v.avimine1");
    EXPECT_EQ(VELUIndexPhotoUpdateVideoStatus(""), -1);
}

TEST_F(CatalogueStore, RenamesRowsUnderTheOldPathOnly) {
    for (const char *path : {"/p/a/1.jpg", "/p/a/b/2.jpg", "/p/ab/3.jpg", "/p/n/1.jpg", "/q/p/a/4.jpg"})
        ASSERT_EQ(SavePhoto(path, path), 0);
    char paths[][32] = {"/p/a/1.jpg", "/p/a/b/2.jpg", "/p/ab/3.jpg", "/q/p/a/4.jpg", "/p/a/gone.jpg"};
    PhotoPathList list[5];
    for (int i = 0; i < 5; ++i)
        list[i] = {paths[i], i < 4 ? &list[i + 1] : nullptr};
    ASSERT_EQ(VELUUpdatePhotoPath(list, "/p/n", "/p/a"), 0);
    Peer peer(kPhoto);
    EXPECT_EQ(peer.Paths("photo_image"), "/p/ab/3.jpg|/p/n/1.jpg|/p/n/b/2.jpg|/q/p/a/4.jpg");
    EXPECT_EQ(peer.Query("select title as x from photo_image where path = '/p/n/1.jpg'"), "/p/a/1.jpg")
        << "the renamed row takes the place of the one that was there";
    EXPECT_EQ(peer.Query(
                  "select name || ',' || album as x from photo_image where path like '/p/n/%' order by path"),
              "1.jpg,n|2.jpg,b");
    PhotoPathList file = {paths[2], nullptr};
    ASSERT_EQ(VELUUpdatePhotoPath(&file, "/p/new.jpg", "/p/ab/3.jpg"), 0);
    EXPECT_EQ(peer.Paths("photo_image"), "/p/n/1.jpg|/p/n/b/2.jpg|/p/new.jpg|/q/p/a/4.jpg");
    PhotoPathList same = {paths[3], nullptr};
    ASSERT_EQ(VELUUpdatePhotoPath(&same, "/q/p/a/", "/q/p/a"), 0);
    EXPECT_EQ(peer.Count("photo_image"), 4) << "a rename to itself removes nothing";
    EXPECT_EQ(VELUUpdatePhotoPath(list, "", "/p"), -1);
    EXPECT_EQ(VELUUpdatePhotoPath(list, "/p", nullptr), -1);
    EXPECT_EQ(VELUUpdatePhotoPath(nullptr, "/p", "/q"), 0);
}

TEST_F(CatalogueStore, AKilledRunLosesTheOpenBatchOnly) {
    ASSERT_EQ(Save(0, "/first"), 0);
    const pid_t child = fork();
    if (child == 0) {
        VELUIndexRunBegin();
        for (int i = 0; i < 500 + 120; ++i)
            Save(0, "/m/" + std::to_string(i));
        kill(getpid(), SIGKILL);
        _exit(1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(Peer().Count("music"), 501);
    EXPECT_EQ(Save(0, "/after"), 0) << "nothing stays locked";
    EXPECT_EQ(Peer().Query("select integrity_check as x from pragma_integrity_check"), "ok");
}

TEST_F(CatalogueStore, AnEmptyRunTouchesNothing) {
    VELUIndexRunBegin();
    VELUIndexRunBegin();
    EXPECT_EQ(VELUIndexRunFlush(), 0);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(kFolder));
}

TEST_F(CatalogueStore, TheEndOfARunLeavesNoLogBehind) {
    VELUIndexRunBegin();
    ASSERT_EQ(Save(0, "/a"), 0);
    ASSERT_EQ(VELUIndexRunEnd(), 0);
    EXPECT_FALSE(std::filesystem::exists("/var/lib/velu/mediaserver.db-wal"));
}

} // namespace
