// SPDX-License-Identifier: GPL-2.0-or-later
//
// Measures the store on SQLite and on a PostgreSQL server side by side: rows saved in runs of three sizes and on a
// connection each, the memory that it takes, rows of which every second is refused, a row's cost in catalogues of three
// sizes, and the rename and the removal of a directory of a large one.
//
//   tests/postgres tests/sandbox build/release/bin/engine_bench DIR [ROWS]
//
// The runs are of ROWS rows (1,000,000 unless told), a tenth and a hundredth of them; so large is the directory. DIR
// takes the SQLite files; the sandbox is needed because the program writes /etc/veluinfo.conf. The server of
// tests/postgres does not wait for its disk.
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/store_rows.h"
#include "photo/photo_sync.h"
#include "platform/veludb.h"

namespace {

constexpr int kDefaultRows = 1000000;
constexpr int kLeastRows = 1000;
constexpr int kRowsOfTheSlowWay = 300; // each on a connection of its own: enough for a stable mean
constexpr int kRowsWithRefused = 2000;
constexpr int kSliceRows = 1000; // enough that opening the catalogue is a small part
constexpr int kSlices = 15;
constexpr double kFlatGoal = 1.25;
constexpr double kTreeGoalSeconds = 1;

struct Places {
    std::string media;
    std::string photo;
};

class Engine {
public:
    Engine(std::string name, std::string folder) : name_(std::move(name)), folder_(std::move(folder)) {}

    const std::string &Name() const { return name_; }

    // Empty catalogues, which the configuration then names. Those of another set stay.
    Places Fresh(const std::string &set = "") const {
        const Places places = OnServer() ? FreshOnServer(set) : FreshFiles(set);
        Use(places);
        return places;
    }

    static void Use(const Places &places) {
        std::ofstream("/etc/veluinfo.conf")
            << "mediadb=\"" << places.media << "\"\nphotodb=\"" << places.photo << "\"\n";
    }

private:
    bool OnServer() const { return name_ != "sqlite"; }

    Places FreshFiles(const std::string &set) const {
        const std::string folder = folder_ + "/set" + set;
        std::filesystem::remove_all(folder);
        return {"sqlite:" + folder + "/media.db", "sqlite:" + folder + "/photo.db"};
    }

    static Places FreshOnServer(const std::string &set);

    std::string name_;
    std::string folder_;
};

void Execute(const std::string &uri, const std::string &sql, int wanted) {
    const DatabaseHandle db(VELUDBOpen(uri.c_str()));
    if (VELUDBExecute(db.get(), sql.c_str(), nullptr) != wanted)
        Fail(sql + ": " + VELUDBErrorGet(db.get()));
}

Places Engine::FreshOnServer(const std::string &set) {
    const std::string server = getenv("VELU_POSTGRESQL");
    const Places places = {server + "/bench_media" + set, server + "/bench_photo" + set};
    for (const std::string &uri : {places.media, places.photo}) {
        const std::string name = uri.substr(server.size() + 1);
        Execute(server + "/postgres", "drop database if exists " + name, 0);
        Execute(server + "/postgres", "create database " + name + " template template0", 0);
    }
    return places;
}

int Count(const std::string &uri, const std::string &from) {
    const DatabaseHandle db(VELUDBOpen(uri.c_str()));
    const ResultHandle rows = VELUDBQuery(db.get(), ("select count(*) as n from " + from).c_str());
    if (rows == nullptr)
        Fail(from);
    return atoi(VELUDBFetchField(rows.get(), 0, "n"));
}

const char *Judge(bool met) {
    return met ? "met" : "MISSED";
}

// Seconds a row in one run of so many rows into an empty catalogue.
double SaveCost(const Engine &engine, int rows) {
    ForgetPeak();
    const Places places = engine.Fresh();
    const double seconds = SaveInOneRun(rows);
    if (Count(places.media, "music") != rows)
        Fail("the number of rows");
    printf("%-10s %8d rows in a run  %8.2f s  %8.4f ms a row  %8.0f rows a second  peak %ld KiB\n",
           engine.Name().c_str(), rows, seconds, seconds / rows * 1e3, rows / seconds, StatusOf("VmHWM:"));
    return seconds / rows;
}

void BenchSaves(const Engine &engine, int most) {
    engine.Fresh();
    SaveInOneRun(kLeastRows); // the module and its libraries are loaded
    double cost = 0;
    for (const int part : {100, 10, 1})
        cost = SaveCost(engine, most / part);
    engine.Fresh();
    const double each = SaveOnAConnectionEach(kRowsOfTheSlowWay) / kRowsOfTheSlowWay;
    printf("%-10s a connection for each row  %8.4f ms a row  %8.0f rows a second  each/run %.0f\n",
           engine.Name().c_str(), each * 1e3, 1 / each, each / cost);
}

// Lets the catalogue refuse songs without an artist.
void RefuseSongs(const Engine &engine, const std::string &uri) {
    if (engine.Name() == "sqlite") {
        Execute(uri,
                "create trigger refuse before insert on music when new.artist = '' begin "
                "select raise(abort, 'refused'); end",
                0);
        return;
    }
    Execute(
        uri,
        "create function refuse() returns trigger language plpgsql as 'begin raise exception ''refused''; "
        "end'",
        0);
    Execute(uri,
            "create trigger refuse before insert on music for each row when (new.artist = '') "
            "execute function refuse()",
            0);
}

void BenchRefusals(const Engine &engine) {
    const Places places = engine.Fresh();
    VELUTruncateTable("music"); // makes the tables
    RefuseSongs(engine, places.media);
    const double start = Now();
    VELUIndexRunBegin();
    for (int i = 0; i < kRowsWithRefused; ++i) {
        MediaInfo record = RecordOf(i);
        if (i % 2 != 0)
            record.artist[0] = '\0';
        if (MediaInfoDBSave(kMediaMusic, &record) != (i % 2 != 0 ? -1 : 0))
            Fail("MediaInfoDBSave");
    }
    if (VELUIndexRunEnd() != 0 || Count(places.media, "music") != kRowsWithRefused / 2)
        Fail("the rows that are good");
    printf("%-10s %d rows, half of them refused  %.2f s\n", engine.Name().c_str(), kRowsWithRefused,
           Now() - start);
}

// Fills a table from inside the database, `folder` rows to a directory.
void Populate(const std::string &uri, const std::string &table, const std::string &share, int rows,
              int folder) {
    const std::string directory = share + "/Folder ' || (i / " + std::to_string(folder) + ")";
    Execute(
        uri,
        "insert into " + table +
            " (path, title) with recursive n (i) as (select 0 union all select i + 1 from n where i + 1 < " +
            std::to_string(rows) + ") select '" + directory + " || '/' || i || '.jpg', 'Title ' || i from n",
        rows);
}

// What a row more costs in catalogues of three sizes. They take turns, so that whatever else the machine does
// slows all of them.
void BenchGrowth(const Engine &engine, int most) {
    constexpr size_t kSizes = 3;
    const int sizes[kSizes] = {most / 100, most / 10, most};
    Places places[kSizes];
    std::vector<double> costs[kSizes];
    for (size_t i = 0; i < kSizes; ++i) {
        places[i] = engine.Fresh(std::to_string(i));
        VELUTruncateTable("music"); // makes the tables
        Populate(places[i].media, "music", "/volume1/music", sizes[i], kSliceRows);
    }
    for (int slice = 0; slice < kSlices; ++slice) {
        for (size_t i = 0; i < kSizes; ++i) {
            Engine::Use(places[i]);
            costs[i].push_back(SaveInOneRun(kSliceRows, slice * kSliceRows) / kSliceRows);
        }
    }
    double medians[kSizes];
    for (size_t i = 0; i < kSizes; ++i) {
        std::nth_element(costs[i].begin(), costs[i].begin() + kSlices / 2, costs[i].end());
        medians[i] = costs[i][kSlices / 2];
        printf("%-10s %d rows more among %8d  %8.4f ms a row\n", engine.Name().c_str(), kSliceRows, sizes[i],
               medians[i] * 1e3);
    }
    const auto [least, largest] = std::minmax_element(medians, medians + kSizes);
    printf("%-10s largest/least cost of a row %.2f (goal %.2f: %s)\n", engine.Name().c_str(),
           *largest / *least, kFlatGoal, Judge(*largest / *least <= kFlatGoal));
}

template <typename Call>
void Timed(const Engine &engine, const char *what, int folder, int rows, Call call) {
    const double start = Now();
    VELUIndexRunBegin();
    if (call() != 0 || VELUIndexRunEnd() != 0)
        Fail(what);
    const double seconds = Now() - start;
    printf("%-10s directory of %d among %d rows %s  %.3f s (goal %.0f s: %s)\n", engine.Name().c_str(),
           folder, rows, what, seconds, kTreeGoalSeconds, Judge(seconds < kTreeGoalSeconds));
}

void BenchTrees(const Engine &engine, int rows) {
    const int folder = rows / 100;
    const Places places = engine.Fresh();
    for (const char *table : {"music", "photo_image"}) // makes the tables
        VELUTruncateTable(table);
    Populate(places.media, "music", "/volume1/music", rows, folder);
    Populate(places.photo, "photo_image", "/volume1/photo", rows, folder);
    Timed(engine, "removed", folder, rows,
          [] { return MediaInfoDBDelete(kMediaTree, "/volume1/music/Folder 7"); });
    Timed(engine, "renamed", folder, rows,
          [] { return PhotoPathRename("/volume1/photo/Renamed", "/volume1/photo/Folder 7", 1); });
    Timed(engine, "removed (photos)", folder, rows,
          [] { return PhotoInfoDBDirDelete("/volume1/photo/Folder 8"); });
    if (Count(places.media, "music") != rows - folder ||
        Count(places.photo, "photo_image") != rows - folder ||
        Count(places.photo, "photo_image where path like '/volume1/photo/Renamed/%'") != folder)
        Fail("the number of rows left");
}

} // namespace

int main(int argc, char **argv) {
    setlinebuf(stdout); // the large runs take minutes
    const int rows = argc > 2 ? atoi(argv[2]) : kDefaultRows;
    if (argc < 2 || rows < kLeastRows || getenv("VELU_SANDBOX") == nullptr ||
        getenv("VELU_POSTGRESQL") == nullptr) {
        fprintf(stderr, "usage: tests/postgres tests/sandbox %s DIR [ROWS, at least %d]\n", argv[0],
                kLeastRows);
        return 2;
    }
    const std::string folder = std::filesystem::absolute(std::string(argv[1]) + "/engine_bench");
    const Engine engines[] = {{"sqlite", folder}, {"postgresql", folder}};
    for (const Engine &engine : engines)
        BenchSaves(engine, rows);
    for (const Engine &engine : engines)
        BenchRefusals(engine);
    for (const Engine &engine : engines)
        BenchGrowth(engine, rows);
    for (const Engine &engine : engines)
        BenchTrees(engine, rows);
    std::filesystem::remove_all(folder);
    return 0;
}
