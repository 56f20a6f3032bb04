// SPDX-License-Identifier: GPL-2.0-or-later
//
// A catalogue with what is kept of files beside their rows.
#pragma once

#include <functional>
#include <string>

#include "catalogue_fixture.h"
#include "platform/index/file_state.h"

inline const std::string kStoredSong = "/volume1/music/A/song.mp3";

class FileStore : public CatalogueStore {
protected:
    // A run by some rules, around what `work` does.
    static int RunBy(RuleSet rules, const std::function<void()> &work) {
        VELUIndexRunBegin();
        VELUIndexRunRules(rules);
        work();
        return VELUIndexRunEnd();
    }
    static int Complete(const std::function<void()> &work) { return RunBy(RuleSet::complete, work); }
    static int Appliance(const std::function<void()> &work) { return RunBy(RuleSet::appliance, work); }

    static std::string Field(const std::string &field, const std::string &path = kStoredSong) {
        return Peer().Query("select " + field + " as x from file_state where path = '" + path + "'");
    }

    // "name/position=value<folded" of a file's facts.
    static std::string Facts(const std::string &path = kStoredSong) {
        return Peer().Query("select name || '/' || position || '=' || value || '<' || folded as x from fact "
                            "where path = '" +
                            path + "' order by name, position");
    }

    static bool HasTables() {
        return Peer().Query("select count(*) as x from file_state").find("error") == std::string::npos;
    }

    // Nothing is left of files without rows.
    static void ExpectNothingLost() {
        Peer peer;
        EXPECT_EQ(
            peer.Query("select path as x from file_state s where not exists (select 1 from music t where "
                       "t.path = s.path) and not exists (select 1 from video t where t.path = s.path) and "
                       "not exists (select 1 from photo t where t.path = s.path) and "
                       "not exists (select 1 from playlist t where t.path = s.path)"),
            "");
        for (const std::string table : {"file_fact", "file_entry"})
            EXPECT_EQ(peer.Query("select distinct file as x from " + table +
                                 " where file not in (select id from file_state)"),
                      "")
                << table;
        for (const std::string table : kTables)
            EXPECT_EQ(peer.Query("select path as x from " + table +
                                 " where path not in (select path from file_state)"),
                      "")
                << table;
    }
};

inline const FileFact kTwoFacts[] = {{"artist", 0, "ABBA", "abba"}, {"artist", 1, "b", "b"}};

inline FileFindings Found(std::string_view stamp, std::span<const FileFact> facts = kTwoFacts) {
    return {.stamp = stamp, .trouble = "", .folded_name = "song.mp3", .facts = facts};
}

inline int SaveFile(const std::string &path, const FileFindings &findings, int kind = kMediaMusic) {
    const MediaInfo record = Record(path);
    return MediaInfoDBSaveFile(kind, &record, findings);
}
