// SPDX-License-Identifier: GPL-2.0-or-later
//
// Removing files that no indexer takes, under the rule set `complete`: rows may come from other rules and other programs.
#include <gtest/gtest.h>

#include <filesystem>

#include "daemon/index.h"
#include "platform/index/file_state.h"
#include "tests/unit/complete_fixture.h"

namespace fs = std::filesystem;

namespace {

using Texts = std::vector<std::string>;

class CompleteRemoveTest : public CompleteFixture {
protected:
    // Gives a path a row with a state, a fact and a cover, as nobody does now.
    static void Give(const std::string &path, int kind = kMediaVideo) {
        InRun([&] {
            MediaInfo record = {};
            snprintf(record.path, sizeof record.path, "%s", path.c_str());
            record.has_cover = 1;
            const std::vector<FileFact> facts = {{"codec", 0, "text", "text"}};
            FileFindings findings;
            findings.stamp = "a stamp";
            findings.facts = facts;
            ASSERT_EQ(MediaInfoDBSaveFile(kind, &record, findings), 0);
            char cover[4096];
            ASSERT_EQ(GetCoverPath(path.c_str(), cover, sizeof cover, 3, 1, kCoverJpeg), 1);
            FileWrite(cover, "picture");
        });
    }

    static bool IsKnown(const std::string &path) {
        char folder[4096];
        EXPECT_EQ(GetCoverFolder(path.c_str(), folder, sizeof folder), 1);
        const bool cover = fs::exists(folder);
        for (const char *table : {"file_state", "fact"}) {
            const Texts paths = MediaPaths(table);
            EXPECT_EQ(std::ranges::find(paths, path) != paths.end(), cover) << table << ' ' << path;
        }
        bool row = false;
        for (const char *table : kMediaTables)
            row = row || !MediaRow(table, path).empty();
        EXPECT_EQ(row, cover) << path;
        return row;
    }

    static int Remove(const std::string &path) {
        int result = 0;
        InRun([&] { result = IndexFileAdd(path.c_str(), kIndexRemove); });
        return result;
    }
};

TEST_F(CompleteRemoveTest, WhatHasNoIndexerAnyMoreGoes) {
    const std::string gone = "/volume1/music/film.srt";
    const Texts others = {"/volume1/music/film.srt2", "/volume1/music/film.srt/below.srt",
                          "/volume1/music/film.sr", "/volume1/music/film.SRT"};
    for (const std::string &path : others)
        Give(path);
    Give(gone);
    ASSERT_TRUE(IsKnown(gone));
    EXPECT_EQ(Remove(gone), 0);
    EXPECT_FALSE(IsKnown(gone));
    for (const std::string &path : others)
        EXPECT_TRUE(IsKnown(path)) << path;
}

TEST_F(CompleteRemoveTest, WhatNeverHadOneGoesFromWhateverTable) {
    for (int kind = kMediaMusic; kind <= kMediaPlaylist; ++kind) {
        for (const char *path :
             {"/volume1/music/x.xyz", "/volume1/music/noextension", "/volume1/music/x.pcm"}) {
            Give(path, kind);
            ASSERT_TRUE(IsKnown(path));
            EXPECT_EQ(Remove(path), path == std::string("/volume1/music/noextension") ? -1 : 0);
            EXPECT_FALSE(IsKnown(path)) << path << ' ' << kind;
        }
    }
}

TEST_F(CompleteRemoveTest, WhatIsStillThereStays) {
    FileWrite("/volume1/music/film.srt", "text");
    Give("/volume1/music/film.srt");
    Remove("/volume1/music/film.srt");
    EXPECT_TRUE(IsKnown("/volume1/music/film.srt"));
}

TEST_F(CompleteRemoveTest, ByTheOtherRulesRowsStayAsEver) {
    Give("/volume1/music/x.xyz");
    RulesSet("appliance");
    EXPECT_EQ(Remove("/volume1/music/x.xyz"), 0);
    EXPECT_TRUE(IsKnown("/volume1/music/x.xyz"));
}

} // namespace
