// SPDX-License-Identifier: GPL-2.0-or-later
//
// Walks under the rule set `complete`, with readers that do what the first line of a file says.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "catalogue/file_readers.h"
#include "daemon/walk_reindex.h"
#include "daemon/walker.h"
#include "platform/index/file_state.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/scripted_readers.h"
#include "tests/unit/test_files.h"

using Texts = std::vector<std::string>;

inline constexpr char kMusic[] = "/volume1/music";
inline constexpr char kSong[] = "/volume1/music/A/song.mp3";

inline void RulesSet(const char *rules) {
    FileWrite("/etc/veluinfo.conf", std::string("rules=\"") + rules + "\"\n");
    RuleSetRead();
}

class CompleteFixture : public testing::Test {
protected:
    CompleteFixture() : folder(ScriptedReadersMake()) {
        SandboxReset();
        std::filesystem::remove_all("/var/lib/velu/covers");
        RulesSet("complete");
        reader_programs[0] = (sound = folder + "/velureader").c_str();
        reader_programs[1] = (films = folder + "/velureader-films").c_str();
        LogTake();
    }
    ~CompleteFixture() override {
        FileReadersEnd();
        reader_programs[0] = reader_programs[1] = nullptr;
        RulesSet("appliance");
        std::filesystem::remove("/etc/veluinfo.conf");
    }

    std::string folder;
    std::string sound;
    std::string films;
};

template <typename Do>
void InRun(Do walk) {
    VELUIndexRunBegin();
    VELUIndexRunRules(RuleSetActive());
    walk();
    EXPECT_EQ(VELUIndexRunEnd(), 0);
    FileReadersEnd();
}

inline void Walk() {
    InRun([] { IndexDirWalk(kMusic, kIndexAdd, kWalkMedia); });
}

inline void Reindex() {
    InRun([] { TreeReindex(kMusic); });
}

inline std::string Title(const std::string &table, const std::string &path) {
    return MediaRow(table, path)["title"];
}

// The lines of the log that hold a text.
inline Texts LinesWith(const std::string &text) {
    Texts found;
    for (const LogLine &line : LogTake())
        if (line.text.find(text) != std::string::npos)
            found.push_back(line.text);
    return found;
}

// "name=value" of a file's facts.
inline Texts FactsOf(const std::string &path) {
    Texts facts;
    const DatabaseHandle db(VELUIndexReaderOpen(Catalogue::media));
    const ResultHandle rows =
        VELUDBQuery(db.get(), ("select name || '=' || value as x from fact where path = '" + path +
                               "' order by name, position")
                                  .c_str());
    for (int row = -1; VELUDBFetchRow(rows.get(), &row) == 0;)
        facts.push_back(VELUDBFetchText(rows.get(), row, "x"));
    return facts;
}

// Saves a row that was read when the file had that stamp.
inline void RowSave(const std::string &title, const std::string &stamp) {
    MediaInfo record = {};
    snprintf(record.path, sizeof record.path, "%s", kSong);
    snprintf(record.title, sizeof record.title, "%s", title.c_str());
    InRun([&] { EXPECT_EQ(MediaInfoDBSaveFile(kMediaMusic, &record, {.stamp = stamp}), 0); });
}

// Writes a file that has long not changed, as far as its times tell.
inline void OldFileWrite(const std::string &path, const std::string &script) {
    FileWrite(path, script);
    const timespec old[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), old, 0), 0);
}
