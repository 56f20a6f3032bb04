// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the tests of the catalogue operations share: clean databases of either engine, and a second connection to
// look at them.
#pragma once
#include <gtest/gtest.h>
#include <math.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "databases.h"
#include "log_catcher.h"
#include "platform/clock.h"
#include "platform/index/run.h"
#include "platform/media_record.h"
#include "platform/veludb.h"
#include "platform/veluindex.h"

extern int sqlite_busy_milliseconds; // of the SQLite engine

inline const std::string kFolder = "/var/lib/velu";
inline const std::string kConfig = "/etc/veluinfo.conf";
inline constexpr const char *kTables[] = {"music", "video", "photo", "playlist"};

// Of the catalogues of the test that runs.
inline std::string media_uri;
inline std::string photo_uri;

inline void Copy(char *out, size_t size, const std::string &text) {
    memset(out, 0, size);
    memcpy(out, text.data(), std::min(size - 1, text.size()));
}

inline MediaInfo Record(const std::string &path, const std::string &title = "title") {
    MediaInfo record = {};
    Copy(record.path, sizeof record.path, path);
    Copy(record.title, sizeof record.title, title);
    return record;
}

inline int Save(int kind, const std::string &path, const std::string &title = "title") {
    const MediaInfo record = Record(path, title);
    return MediaInfoDBSave(kind, &record);
}

// Another program's connection.
struct Peer {
    explicit Peer(const std::string &uri = media_uri) : db(VELUDBOpen(uri.c_str())) {}
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
inline std::string Paths(const std::string &table) {
    return Peer().Paths(table);
}
inline std::string PhotoPaths(const std::string &table) {
    return Peer(photo_uri).Paths(table);
}

// What the run's clock shows. It stands still but for the tests' own hand, since a batch is committed after a while
// and no test knows how busy its machine is.
inline int64_t run_now = 0;

// Catalogues of one engine: SQLite files at their real places, or two databases that the configuration names.
class CatalogueFixture : public testing::Test {
protected:
    CatalogueFixture() {
        run_clock = [] { return run_now; };
    }

    void TearDown() override {
        VELUIndexRunEnd();
        run_clock = MonotonicMilliseconds;
        sqlite_busy_milliseconds = timeout_;
        Clean();
        std::filesystem::create_directories(kFolder);
    }

    void Use(const std::string &engine) {
        Clean();
        std::filesystem::create_directories(kFolder);
        media_uri = "sqlite:" + kFolder + "/mediaserver.db";
        photo_uri = "sqlite:" + kFolder + "/photo.db";
        if (engine == "sqlite")
            return;
        media_uri = EmptyServerDatabase("unit_media");
        photo_uri = EmptyServerDatabase("unit_photo");
        std::ofstream(kConfig) << "mediadb=\"" << media_uri << "\"\nphotodb=\"" << photo_uri << "\"\n";
    }

private:
    static void Clean() {
        std::filesystem::remove_all(kFolder);
        std::filesystem::remove(kConfig);
        VELUIndexMusicTableDirtySet(0);
        VELUIndexVideoTableDirtySet(0);
    }

    const int timeout_ = sqlite_busy_milliseconds;
};

class CatalogueStore : public CatalogueFixture, public testing::WithParamInterface<const char *> {
protected:
    void SetUp() override {
        if (!EngineIsReady(GetParam()))
            GTEST_SKIP() << kNoServer;
        Use(GetParam());
    }

    static bool OnSqlite() { return strcmp(GetParam(), "sqlite") == 0; }
};

class SqliteStore : public CatalogueFixture {
protected:
    void SetUp() override { Use("sqlite"); }
};

class ServerStore : public CatalogueFixture {
protected:
    void SetUp() override {
        if (!EngineIsReady("postgresql"))
            GTEST_SKIP() << kNoServer;
        Use("postgresql");
    }
};
