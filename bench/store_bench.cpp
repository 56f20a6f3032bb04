// SPDX-License-Identifier: GPL-2.0-or-later
//
// Measures the catalogue store: rows saved on one connection, beside prepared inserts of plain SQLite and
// beside a connection for every row; and the removal of a directory from a large catalogue.
//
//   tests/sandbox build/release/bin/store_bench DIR [ROWS [POPULATION]]
//
// DIR takes the databases; the sandbox is needed because the program points /etc/veluinfo.conf there.
#include <sqlite3.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "bench/store_rows.h"
#include "platform/veludb.h"

namespace {

constexpr int kDefaultRows = 100000;
constexpr int kDefaultPopulation = 1000000;
constexpr int kRemovedRows = 1000;
constexpr int kRowsOfTheSlowWay = 300; // a file of its own for each connection: enough for a stable mean
constexpr double kSaveGoalSeconds = 10;
constexpr double kRemoveGoalMilliseconds = 50;

void UseDatabase(const std::string &file) {
    std::ofstream("/etc/veluinfo.conf") << "mediadb=\"sqlite:" << file << "\"\n";
}

void Run(sqlite3 *db, const char *sql) {
    if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        Fail(sql);
}

// The same table and texts through SQLite's own calls, in batches of the same size: the least that it can
// cost.
double SavePlainly(const std::string &file, int rows) {
    const double start = Now();
    sqlite3 *db = nullptr;
    sqlite3_stmt *insert = nullptr;
    if (sqlite3_open(file.c_str(), &db) != SQLITE_OK)
        Fail("sqlite3_open");
    Run(db, "pragma journal_mode = wal");
    Run(db, "pragma synchronous = normal");
    Run(db, "delete from music");
    if (sqlite3_prepare_v2(
            db,
            "insert into music (path, title, album, artist, genre, create_time, modify_time, track, "
            "duration, audio_bitrate, file_size) values (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
            -1, &insert, nullptr) != SQLITE_OK)
        Fail("sqlite3_prepare_v2");
    for (int i = 0; i < rows; ++i) {
        constexpr int kBatch = 500;
        if (i % kBatch == 0)
            Run(db, i == 0 ? "begin" : "commit; begin");
        const MediaInfo record = RecordOf(i);
        int column = 0;
        for (const char *text : {record.path, record.title, record.album, record.artist, record.genre,
                                 record.create_time, record.modify_time})
            sqlite3_bind_text(insert, ++column, text, -1, SQLITE_STATIC);
        sqlite3_bind_int(insert, ++column, record.track);
        sqlite3_bind_double(insert, ++column, double{record.duration});
        sqlite3_bind_int64(insert, ++column, record.audio_bitrate);
        sqlite3_bind_int64(insert, ++column, static_cast<sqlite3_int64>(record.file_size));
        if (sqlite3_step(insert) != SQLITE_DONE)
            Fail("sqlite3_step");
        sqlite3_reset(insert);
    }
    Run(db, "commit");
    Run(db, "pragma wal_checkpoint");
    sqlite3_finalize(insert);
    sqlite3_close(db);
    return Now() - start;
}

// Fills the music table up to `population` rows, kRemovedRows to a directory, from inside the database.
void Populate(const std::string &file, int population) {
    const DatabaseHandle db(VELUDBOpen(("sqlite:" + file).c_str()));
    const std::string group = std::to_string(kRemovedRows);
    const std::string sql =
        "insert into music (path, title, artist, duration, file_size, has_cover) "
        "with recursive n (i) as (select 0 union all select i + 1 from n where i + 1 < " +
        std::to_string(population) + ") select '/volume1/music/Folder ' || (i / " + group +
        ") || '/' || i || '.mp3', 'Title of the song with number ' || i, 'Artist', 200.5, 4000000, 0 from n";
    if (VELUDBExecute(db.get(), sql.c_str(), nullptr) != population)
        Fail("the population");
}

int Count(const std::string &file) {
    const DatabaseHandle db(VELUDBOpen(("sqlite:" + file).c_str()));
    const ResultHandle rows = VELUDBQuery(db.get(), "select count(*) as n from music");
    if (rows == nullptr)
        Fail("count");
    return atoi(VELUDBFetchField(rows.get(), 0, "n"));
}

void BenchSaves(const std::string &folder, int rows) {
    const std::string file = folder + "/saves.db";
    UseDatabase(file);
    const int warm_up = rows / 10;
    SaveInOneRun(warm_up);
    const long before = StatusOf("VmRSS:");
    ForgetPeak();
    const double store = SaveInOneRun(rows);
    const long peak = StatusOf("VmHWM:");
    if (Count(file) != rows)
        Fail("the number of rows");

    const std::string plain_file = folder + "/plain.db";
    UseDatabase(plain_file);
    SaveOnAConnectionEach(1); // makes the table
    const double plain = SavePlainly(plain_file, rows);

    const std::string each_file = folder + "/each.db";
    UseDatabase(each_file);
    const double each = SaveOnAConnectionEach(kRowsOfTheSlowWay) / kRowsOfTheSlowWay;

    const double row = store / rows;
    printf("%d rows saved in a run        %8.2f s   %7.4f ms a row   (goal %.0f s: %s)\n", rows, store,
           row * 1e3, kSaveGoalSeconds, store < kSaveGoalSeconds ? "met" : "MISSED");
    printf("plain prepared inserts         %8.2f s   %7.4f ms a row   store/plain %.2f\n", plain,
           plain / rows * 1e3, store / plain);
    printf("a connection for each row                   %7.4f ms a row   each/store %.0f\n", each * 1e3,
           each / row);
    printf("resident memory                %8ld KiB before, %ld KiB at the peak\n", before, peak);
}

void BenchRemoval(const std::string &folder, int population) {
    const std::string file = folder + "/large.db";
    UseDatabase(file);
    SaveOnAConnectionEach(1); // makes the table
    Populate(file, population);
    const int before = Count(file);
    VELUIndexRunBegin();
    const MediaInfo record = RecordOf(1);
    if (MediaInfoDBSave(kMediaMusic, &record) != 0) // opens the connection
        Fail("MediaInfoDBSave");
    VELUIndexRunFlush();
    double start = Now();
    if (MediaInfoDBDelete(kMediaTree, "/volume1/music/Folder 7") != 0 || VELUIndexRunFlush() != 0)
        Fail("MediaInfoDBDelete");
    const double in_run = (Now() - start) * 1e3;
    start = Now();
    if (VELUIndexRunEnd() != 0)
        Fail("VELUIndexRunEnd");
    const double end = (Now() - start) * 1e3;
    start = Now();
    if (MediaInfoDBDelete(kMediaTree, "/volume1/music/Folder 8") != 0)
        Fail("MediaInfoDBDelete");
    const double alone = (Now() - start) * 1e3;
    if (Count(file) != before + 1 - 2 * kRemovedRows)
        Fail("the number of rows left");
    printf("%d of %d rows removed and committed  %.1f ms   (goal %.0f ms: %s); end of run %.1f ms\n",
           kRemovedRows, population, in_run, kRemoveGoalMilliseconds,
           in_run < kRemoveGoalMilliseconds ? "met" : "MISSED", end);
    printf("the same on a connection of its own, to the disk  %.1f ms\n", alone);
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2 || getenv("VELU_SANDBOX") == nullptr) {
        fprintf(stderr, "usage: tests/sandbox %s DIR [ROWS [POPULATION]]\n", argv[0]);
        return 2;
    }
    const std::string folder = std::filesystem::absolute(std::string(argv[1]) + "/store_bench");
    std::filesystem::remove_all(folder);
    BenchSaves(folder, argc > 2 ? atoi(argv[2]) : kDefaultRows);
    BenchRemoval(folder, argc > 3 ? atoi(argv[3]) : kDefaultPopulation);
    std::filesystem::remove_all(folder);
    return 0;
}
