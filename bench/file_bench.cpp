// SPDX-License-Identifier: GPL-2.0-or-later
//
// Measures what the tables about files cost: rows saved without and with a state and facts, saved again, removed; a look at
// the states of every folder; the bytes of each file. On SQLite, and on the server of tests/postgres when there is one.
//
//   tests/postgres tests/sandbox build/release/bin/file_bench DIR [ROWS [FACTS]]
//
// DIR takes the SQLite files; the sandbox is needed because the program writes /etc/veluinfo.conf.
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/store_rows.h"
#include "platform/index/file_state.h"
#include "platform/veludb.h"

namespace {

constexpr int kDefaultRows = 20000;
constexpr int kDefaultFacts = 20;
constexpr int kFolders = 1000; // files to a folder, as RecordOf has them

// As long as those of a tagged song.
struct Words {
    std::string value;
    std::string folded;
};

std::vector<Words> WordsOf(int file, int facts) {
    std::vector<Words> words;
    for (int i = 0; i < facts; ++i) {
        if (i % 4 == 0)
            words.push_back({std::to_string(file % 300 + i), std::to_string(file % 300 + i)});
        else if (i % 4 == 1)
            words.push_back({"codec", "codec"});
        else
            words.push_back({"Artist Number " + std::to_string(file % 1000 + i),
                             "artist number " + std::to_string(file % 1000 + i)});
    }
    return words;
}

// Gives the milliseconds a row.
template <typename Save>
double RunOf(RuleSet rules, int rows, Save save) {
    const double start = Now();
    VELUIndexRunBegin();
    VELUIndexRunRules(rules);
    for (int i = 0; i < rows; ++i)
        save(i);
    if (VELUIndexRunEnd() != 0)
        Fail("VELUIndexRunEnd");
    return (Now() - start) * 1e3 / rows;
}

void SavePlain(int file) {
    const MediaInfo record = RecordOf(file);
    if (MediaInfoDBSave(kMediaMusic, &record) != 0)
        Fail("MediaInfoDBSave");
}

void SaveWith(int file, int facts) {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> made;
        for (int i = 0; i < 256; ++i)
            made.push_back("name" + std::to_string(i));
        return made;
    }();
    const MediaInfo record = RecordOf(file);
    const std::vector<Words> words = WordsOf(file, facts);
    std::vector<FileFact> list;
    for (size_t i = 0; i < words.size(); ++i)
        list.push_back({names[i % names.size()], 0, words[i].value, words[i].folded});
    if (MediaInfoDBSaveFile(kMediaMusic, &record,
                            {.stamp = "4000000 1230865445.123456789 1230865445.123456789 12345678 1",
                             .trouble = "",
                             .folded_name = "number.mp3",
                             .facts = list}) != 0)
        Fail("MediaInfoDBSaveFile");
}

void Print(const char *what, double milliseconds) {
    printf("  %-46s %8.4f ms\n", what, milliseconds);
}

void Fresh(const std::string &uri) {
    if (const char *file = VELUDBFileGet(uri.c_str()); file != nullptr)
        for (const char *end : {"", "-wal", "-shm"})
            std::filesystem::remove(std::string(file) + end);
    else {
        const DatabaseHandle db(VELUDBOpen(uri.c_str()));
        VELUDBExecute(db.get(), "drop schema public cascade", nullptr);
        VELUDBExecute(db.get(), "create schema public", nullptr);
    }
}

long long BytesOf(const std::string &uri) {
    if (const char *file = VELUDBFileGet(uri.c_str()); file != nullptr)
        return static_cast<long long>(std::filesystem::file_size(file));
    const DatabaseHandle db(VELUDBOpen(uri.c_str()));
    const ResultHandle rows = VELUDBQuery(db.get(), "select pg_database_size(current_database()) as n");
    return atoll(VELUDBFetchField(rows.get(), 0, "n"));
}

void Bench(const std::string &uri, int rows, int facts) {
    std::ofstream("/etc/veluinfo.conf") << "mediadb=\"" << uri << "\"\n";
    printf("%.10s, %d rows, %d facts each\n", uri.c_str(), rows, facts);
    Fresh(uri);
    Print("a row, without the tables", RunOf(RuleSet::appliance, rows, SavePlain));
    Print("the same again", RunOf(RuleSet::appliance, rows, SavePlain));
    const double start = Now();
    RunOf(RuleSet::complete, 1, SavePlain);
    Print("the tables made, and each row given a state", (Now() - start) * 1e3);
    Print("a row, with the tables, by other operations", RunOf(RuleSet::complete, rows, SavePlain));
    Fresh(uri);
    Print("a row with its state", RunOf(RuleSet::complete, rows, [](int i) { SaveWith(i, 0); }));
    Print("the same again", RunOf(RuleSet::complete, rows, [](int i) { SaveWith(i, 0); }));
    Fresh(uri);
    const long long empty = VELUDBFileGet(uri.c_str()) != nullptr ? 0 : BytesOf(uri);
    ForgetPeak();
    Print("a row with its state and facts",
          RunOf(RuleSet::complete, rows, [&](int i) { SaveWith(i, facts); }));
    const long peak = StatusOf("VmHWM:");
    Print("the same again", RunOf(RuleSet::complete, rows, [&](int i) { SaveWith(i, facts); }));
    const long long bytes = BytesOf(uri) - empty;
    Print("the states of a folder's files, a file",
          RunOf(RuleSet::complete, rows / kFolders, [](int i) {
              int files = 0;
              if (FileStatesRead(("/volume1/music/Artist " + std::to_string(i) + "/Album").c_str(),
                                 [&](auto, auto, auto) { ++files; }) != 0 ||
                  files != kFolders)
                  Fail("FileStatesRead");
          }) / kFolders);
    Print("all removed, a row", RunOf(RuleSet::complete, 1, [](int) {
                                    if (MediaInfoDBDelete(kMediaTree, "/volume1/music") != 0)
                                        Fail("MediaInfoDBDelete");
                                }) / rows);
    printf("  %lld bytes of the catalogue a file, %ld KiB resident at the peak\n", bytes / rows, peak);
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: file_bench DIR [ROWS [FACTS]]\n");
        return 2;
    }
    const int rows = argc > 2 ? atoi(argv[2]) : kDefaultRows;
    const int facts = argc > 3 ? atoi(argv[3]) : kDefaultFacts;
    if (rows < kFolders || facts < 0 || facts > 256)
        Fail("the numbers");
    Bench(std::string("sqlite:") + argv[1] + "/files.db", rows, facts);
    const char *server = getenv("VELU_POSTGRESQL");
    if (server == nullptr)
        return 0;
    {
        const DatabaseHandle db(VELUDBOpen((std::string(server) + "/postgres").c_str()));
        VELUDBExecute(db.get(), "drop database if exists file_bench", nullptr);
        if (VELUDBExecute(db.get(), "create database file_bench template template0", nullptr) < 0)
            Fail("create database");
    }
    Bench(std::string(server) + "/file_bench", rows, facts);
    return 0;
}
