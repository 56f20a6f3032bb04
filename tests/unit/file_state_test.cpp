// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is kept of files beside their rows: one unit with the row, in step with it whoever writes, by whichever rules.
#include "platform/index/file_state.h"

#include <stdlib.h>
#include <time.h>

#include <functional>

#include "catalogue_fixture.h"
#include "platform/index/catalogue_copy.h"
#include "platform/limits.h"

namespace {

const std::string kSong = "/volume1/music/A/song.mp3";

class FileState_ : public CatalogueStore {
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

    static std::string Field(const std::string &field, const std::string &path = kSong) {
        return Peer().Query("select " + field + " as x from file_state where path = '" + path + "'");
    }

    // "name/position=value<folded" of a file's facts.
    static std::string Facts(const std::string &path = kSong) {
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
ON_ALL_ENGINES(FileState_);

const FileFact kTwoFacts[] = {{"artist", 0, "ABBA", "abba"}, {"artist", 1, "b", "b"}};

FileFindings Found(std::string_view stamp, std::span<const FileFact> facts = kTwoFacts) {
    return {.stamp = stamp, .trouble = "", .folded_name = "song.mp3", .facts = facts};
}

int SaveFile(const std::string &path, const FileFindings &findings, int kind = kMediaMusic) {
    const MediaInfo record = Record(path);
    return MediaInfoDBSaveFile(kind, &record, findings);
}

TEST_P(FileState_, TheTablesComeWithTheFirstRunThatWantsThem) {
    EXPECT_EQ(Appliance([] { EXPECT_EQ(Save(kMediaMusic, kSong), 0); }), 0);
    EXPECT_FALSE(HasTables());
    EXPECT_EQ(Complete([] {}), 0);
    EXPECT_FALSE(HasTables()) << "nothing was asked of the store";
    EXPECT_EQ(Complete([] { EXPECT_EQ(Save(kMediaMusic, "/b"), 0); }), 0);
    EXPECT_TRUE(HasTables());
    EXPECT_EQ(Peer().Query("select version as x from file_schema_version"), "1");
    EXPECT_EQ(Peer().Query("select version as x from schema_version"), "1")
        << "an older program opens the rest";
    EXPECT_EQ(Peer().Query("select rules as x from file_rules"), "complete");
    EXPECT_EQ(Paths("file_state"), "/b|" + kSong);
    ExpectNothingLost();
}

TEST_P(FileState_, ARowAndWhatIsKnownOfItsFileAreSavedTogether) {
    Complete([] {
        EXPECT_EQ(
            SaveFile(kSong, {.stamp = "1", .trouble = "a crash", .folded_name = "f", .facts = kTwoFacts}), 0);
    });
    EXPECT_EQ(Paths("music"), kSong);
    EXPECT_EQ(Field("stamp") + Field("trouble") + Field("folded_name"), "1a crashf");
    EXPECT_EQ(Facts(), "artist/0=ABBA<abba|artist/1=b<b");
    EXPECT_EQ(Peer().Query("select count(*) as x from file_fact where folded is null"), "1")
        << "it is the value";
    const std::string added = Field("added");
    ASSERT_EQ(added.size(), strlen("2026-11-22T10:11:12Z"));
    EXPECT_EQ(Peer().Exec("update file_state set added = '2001-01-01T00:00:00Z'"), 1);
    const FileFact other[] = {{"codec", 0, "mp3", "mp3"}};
    Complete([&] { EXPECT_EQ(SaveFile(kSong, Found("2", other)), 0); });
    EXPECT_EQ(Field("stamp") + Field("trouble"), "2");
    EXPECT_EQ(Field("added"), "2001-01-01T00:00:00Z");
    EXPECT_EQ(Facts(), "codec/0=mp3<mp3");
    ExpectNothingLost();
}

TEST_P(FileState_, AnyNumberOfFactsAndEntriesArrives) {
    std::vector<std::string> words;
    for (int i = 0; i < 256; ++i)
        words.push_back("word " + std::to_string(i));
    std::vector<FileFact> facts;
    std::vector<FileEntry> entries;
    for (int i = 0; i < 256; ++i) {
        facts.push_back({"keyword", i, words[static_cast<size_t>(i)], "w"});
        entries.push_back({i, words[static_cast<size_t>(i)], i % 2 == 0 ? "/found" : "", "n"});
    }
    const std::string list = "/volume1/music/list.m3u8";
    FileFindings findings = Found("1", facts);
    findings.entries = entries;
    Complete([&] {
        EXPECT_EQ(SaveFile(list, findings, kMediaPlaylist), 0);
        EXPECT_EQ(SaveFile(list, findings, kMediaPlaylist), 0);
    });
    EXPECT_EQ(Peer().Query("select count(*) as x from fact where name = 'keyword' and folded = 'w'"), "256");
    EXPECT_EQ(Peer().Query("select value as x from fact where position = 255"), "word 255");
    EXPECT_EQ(Peer().Query("select count(*) as x from playlist_entry where found = '/found'"), "128");
    EXPECT_EQ(Peer().Query("select target as x from playlist_entry where position = 255"), "word 255");
    EXPECT_EQ(Complete([&] { EXPECT_EQ(MediaInfoDBDelete(kMediaPlaylist, list.c_str()), 0); }), 0);
    EXPECT_EQ(Peer().Count("file_fact") + Peer().Count("file_entry") + Peer().Count("file_state"), 0);
}

TEST_P(FileState_, LongTextsAreCutAtACharacter) {
    const std::string value = std::string(kFactValueMax - 1, 'v') + "\xc3\xa9";
    const std::string folded = std::string(kFactFoldedMax - 2, 'f') + "\xe2\x82\xac";
    const std::string full_value(kFactValueMax, 'x');
    const std::string full_folded(kFactFoldedMax, 'y');
    const FileFact kept[] = {{"lyrics", 0, value, folded},
                             {"lyrics", 1, std::string_view(value).substr(0, kFactValueMax - 1),
                              std::string_view(folded).substr(0, kFactFoldedMax - 2)},
                             {"lyrics", 2, full_value, full_folded}};
    Complete([&] { EXPECT_EQ(SaveFile(kSong, Found("1", kept)), 0); });
    const std::string bytes = OnSqlite() ? "length(cast(" : "octet_length((";
    const std::string end = OnSqlite() ? " as blob))" : "))";
    EXPECT_EQ(Peer().Query("select " + bytes + "value" + end + " as x from fact order by position"),
              "4095|4095|4096");
    EXPECT_EQ(Peer().Query("select " + bytes + "folded" + end + " as x from fact order by position"),
              "254|254|256");
}

TEST_P(FileState_, WhatWasThereBeforeWasAddedAtTheEarlierOfItsTimes) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    const auto save = [](const char *path, const char *create, const char *modify, int kind) {
        MediaInfo record = Record(path);
        Copy(record.create_time, sizeof record.create_time, create);
        Copy(record.modify_time, sizeof record.modify_time, modify);
        EXPECT_EQ(MediaInfoDBSave(kind, &record), 0);
    };
    Appliance([&] {
        save("/summer", "2020-07-01 12:00:00", "2021-01-01 00:00:00", kMediaMusic);
        save("/winter", "2020-07-01 12:00:00", "2020-01-01 00:30:00", kMediaVideo);
        save("/list", "Sun Sep  9 03:46:40 2001", "Mon Sep 10 03:46:40 2001", kMediaPlaylist);
        save("/one", "", "2020-07-01 12:00:00", kMediaPhoto);
        save("/none", "", "yesterday", kMediaPhoto);
        for (int i = 0; i < 1100; ++i)
            save(("/many/" + std::to_string(i)).c_str(), "2020-07-01 12:00:00", "2020-07-01 12:00:01",
                 kMediaMusic);
    });
    Complete([] { EXPECT_EQ(Save(kMediaMusic, "/new"), 0); });
    unsetenv("TZ");
    tzset();
    EXPECT_EQ(Field("added", "/summer"), "2020-07-01T10:00:00Z");
    EXPECT_EQ(Field("added", "/winter"), "2019-12-31T23:30:00Z");
    EXPECT_EQ(Field("added", "/list"), "2001-09-09T01:46:40Z");
    EXPECT_EQ(Field("added", "/one"), "2020-07-01T10:00:00Z");
    EXPECT_GT(Field("added", "/none"), "2026");
    EXPECT_EQ(Peer().Query("select count(*) as x from file_state where added = '2020-07-01T10:00:00Z'"),
              "1102");
    EXPECT_EQ(Peer().Count("file_state"), 1106);
    ExpectNothingLost();
}

TEST_P(FileState_, DeletesSweepsAndEmptiedTablesTakeAllOfAFileAlong) {
    const auto fill = [] {
        for (const char *path : {"/m/a/1.mp3", "/m/a/b/2.mp3", "/m/ab.mp3", "/m/c%.mp3", "/m/d'.mp3"})
            EXPECT_EQ(SaveFile(path, Found("1")), 0);
        EXPECT_EQ(SaveFile("/m/a/v.avi", Found("1"), kMediaVideo), 0);
    };
    for (const RuleSet rules : {RuleSet::complete, RuleSet::appliance}) {
        Complete(fill);
        RunBy(rules, [] {
            EXPECT_EQ(MediaInfoDBDelete(kMediaMusic, "/m/c%.mp3"), 0);
            EXPECT_EQ(MediaInfoDBDelete(kMediaTree, "/m/a/"), 0);
        });
        EXPECT_EQ(Paths("file_state"), "/m/ab.mp3|/m/d'.mp3");
        EXPECT_EQ(Peer().Count("file_fact"), 4);
        Complete(fill);
        RunBy(rules, [] {
            MediaSweepBegin();
            EXPECT_EQ(Save(kMediaMusic, "/m/ab.mp3"), 0);
            MediaSweepKeep("/m/d'.mp3");
            EXPECT_EQ(MediaSweepLeave(0, "/m", true), 0);
            MediaSweepEnd();
        });
        EXPECT_EQ(Paths("file_state"), "/m/ab.mp3|/m/d'.mp3");
        ExpectNothingLost();
        Complete(fill);
        RunBy(rules, [] { EXPECT_EQ(VELUTruncateTable("music"), 0); });
        EXPECT_EQ(Paths("file_state"), "/m/a/v.avi");
        EXPECT_EQ(Peer().Count("file_fact"), 2);
        RunBy(rules, [] { EXPECT_EQ(VELUTruncateTable("video"), 0); });
        EXPECT_EQ(Peer().Count("file_state") + Peer().Count("file_fact"), 0);
    }
}

TEST_P(FileState_, AFileOfTwoKindsGoesWithTheLastOfItsRows) {
    Complete([] {
        EXPECT_EQ(SaveFile(kSong, Found("1")), 0);
        EXPECT_EQ(SaveFile(kSong, Found("2"), kMediaVideo), 0);
        EXPECT_EQ(MediaInfoDBDelete(kMediaMusic, kSong.c_str()), 0);
    });
    EXPECT_EQ(Field("stamp"), "2");
    EXPECT_EQ(Facts(), "artist/0=ABBA<abba|artist/1=b<b");
    Complete([] { EXPECT_EQ(MediaInfoDBDelete(kMediaVideo, kSong.c_str()), 0); });
    EXPECT_EQ(Peer().Count("file_state") + Peer().Count("file_fact"), 0);
}

TEST_P(FileState_, ARowThatOthersHaveSavedHasNoStamp) {
    Complete([] {
        for (const char *path : {"/a", "/b", "/c"})
            EXPECT_EQ(SaveFile(path, Found("1")), 0);
        EXPECT_EQ(Save(kMediaMusic, "/a"), 0);
    });
    EXPECT_EQ(Field("stamp", "/a") + Field("stamp", "/b") + Field("stamp", "/c"), "11");
    Appliance([] { EXPECT_EQ(Save(kMediaMusic, "/b"), 0); });
    EXPECT_EQ(Field("stamp", "/b") + Field("stamp", "/c"), "1");
    // What follows a look or a name says nothing about the rest.
    EXPECT_EQ(Peer().Exec("update music set file_size = 1, title = 't', album = 'a', modify_time = ''"), 3);
    EXPECT_EQ(Field("stamp", "/c"), "1");
}

TEST_P(FileState_, ARowThatMovesTakesItAllAlong) {
    Complete([] {
        EXPECT_EQ(SaveFile("/old", Found("1")), 0);
        EXPECT_EQ(SaveFile("/new", Found("2", {})), 0);
    });
    EXPECT_EQ(Peer().Exec("update file_state set added = 'long ago' where path = '/old'"), 1);
    EXPECT_EQ(Peer().Exec("delete from music where path = '/new'"), 1);
    EXPECT_EQ(Peer().Exec("update music set path = '/new' where path = '/old'"), 1);
    EXPECT_EQ(Paths("file_state"), "/new");
    EXPECT_EQ(Field("stamp", "/new") + Field("added", "/new"), "1long ago");
    EXPECT_EQ(Facts("/new"), "artist/0=ABBA<abba|artist/1=b<b");
    EXPECT_EQ(Field("folded_name", "/new"), "-") << "it is another";
    ExpectNothingLost();
}

TEST_P(FileState_, ARenameOfRowsKeepsWhenTheyWereAdded) {
    const std::string old_tree = "/v/\xc3\xa9\xff";
    const std::string new_tree = "/v/n\xc3\xb6";
    const std::string names[] = {"", "/1.mp3", "/\xfe/\xc3\xa9.mp3", "/gone.mp3"};
    Complete([&] {
        for (const std::string &name : names)
            EXPECT_EQ(SaveFile(old_tree + name, Found("1")), 0);
        EXPECT_EQ(SaveFile(old_tree + "2", Found("1")), 0) << "a sibling";
        EXPECT_EQ(SaveFile(new_tree + "/1.mp3", Found("1")), 0) << "gives way";
    });
    EXPECT_EQ(Peer().Exec("update file_state set added = 'long ago' where path like '" + old_tree + "%'"), 5);
    Appliance([&] {
        FileMove move(new_tree.c_str(), old_tree.c_str());
        EXPECT_EQ(MediaInfoDBDelete(kMediaTree, old_tree.c_str()), 0);
        for (const std::string &name : {names[0], names[1], names[2]})
            EXPECT_EQ(Save(kMediaMusic, new_tree + name), 0);
        move.Finish();
    });
    EXPECT_EQ(Peer().Query(
                  "select path as x from file_state where added = 'long ago' and stamp = '' order by path"),
              new_tree + "|" + new_tree + "/1.mp3|" + new_tree + "/\xfe/\xc3\xa9.mp3");
    EXPECT_EQ(Field("added", old_tree + "2"), "long ago");
    EXPECT_EQ(Peer().Count("file_state"), 4) << "what has not come again is gone";
    ExpectNothingLost();
    // Without the tables nothing of it is done.
    EXPECT_EQ(Peer().Exec("update music set title = 'x'"), 4);
}

TEST_P(FileState_, WithoutTheTablesARenameDoesNothingMore) {
    Appliance([] {
        EXPECT_EQ(Save(kMediaMusic, "/old"), 0);
        LogCatcher log;
        FileMove move("/new", "/old");
        EXPECT_EQ(MediaInfoDBDelete(kMediaMusic, "/old"), 0);
        EXPECT_EQ(Save(kMediaMusic, "/new"), 0);
        move.Finish();
        EXPECT_TRUE(log.Quiet());
    });
    EXPECT_EQ(Paths("music"), "/new");
    EXPECT_FALSE(HasTables());
}

TEST_P(FileState_, OtherRulesForgetAllStamps) {
    Complete([] {
        EXPECT_EQ(SaveFile("/a", Found("1")), 0);
        EXPECT_EQ(SaveFile("/b", {.stamp = "1", .trouble = "slow", .folded_name = ""}), 0);
    });
    EXPECT_EQ(Peer().Exec("update file_state set added = 'long ago'"), 2);
    Complete([] { EXPECT_EQ(SaveFile("/c", Found("1")), 0); });
    EXPECT_EQ(Field("stamp", "/a"), "1") << "the rules are the same";
    Appliance([] { EXPECT_EQ(Save(kMediaMusic, "/d"), 0); });
    EXPECT_EQ(Peer().Query("select rules as x from file_rules"), "appliance");
    EXPECT_EQ(Complete([] { EXPECT_EQ(SaveFile("/e", Found("1")), 0); }), 0);
    EXPECT_EQ(Peer().Query("select path as x from file_state where stamp <> ''"), "/e");
    EXPECT_EQ(Peer().Query("select path as x from file_state where added = 'long ago' order by path"),
              "/a|/b");
    EXPECT_EQ(Facts("/a"), "artist/0=ABBA<abba|artist/1=b<b") << "until the file is read again";
    EXPECT_EQ(Peer().Query("select rules as x from file_rules"), "complete");
    // A tool that says nothing of rules is no run by others.
    EXPECT_EQ(Save(kMediaMusic, "/f"), 0);
    EXPECT_EQ(Peer().Query("select rules as x from file_rules"), "complete");
    ExpectNothingLost();
}

TEST_P(FileState_, AnOlderProgramLeavesThemTrue) {
    Complete([] {
        for (const char *path : {"/a", "/b", "/t/1", "/t/2", "/x"})
            EXPECT_EQ(SaveFile(path, Found("1")), 0);
        EXPECT_EQ(SaveFile("/f", Found("1"), kMediaVideo), 0);
    });
    const std::string added = Field("added", "/a");
    {
        // Its statements: an upsert of all columns, and deletes by path, by range and of whole tables.
        Peer older;
        EXPECT_EQ(
            older.Exec(
                "insert into music (path, title, duration) values ('/a', 'other', 1) on conflict (path) do "
                "update set title = excluded.title, duration = excluded.duration"),
            1);
        EXPECT_EQ(
            older.Exec(
                "insert into music (path, title, duration) values ('/new', 'other', 1) on conflict (path) "
                "do update set title = excluded.title, duration = excluded.duration"),
            1);
        EXPECT_EQ(older.Exec("delete from music where path = '/b'"), 1);
        EXPECT_EQ(older.Exec("delete from music where path = '/t' or (path >= '/t/' and path < '/t0')"), 2);
        EXPECT_EQ(older.Exec("delete from video"), 1);
    }
    EXPECT_EQ(Paths("file_state"), "/a|/new|/x");
    ExpectNothingLost();
    Complete([] {
        FileStates states;
        ASSERT_EQ(FileStatesRead("/", &states), 0);
        FileState state;
        EXPECT_EQ(FileStateGet(states, "a", &state), 1);
        EXPECT_EQ(state.stamp, "") << "it is read again";
        EXPECT_EQ(FileStateGet(states, "x", &state), 1);
        EXPECT_EQ(state.stamp, "1");
        EXPECT_EQ(FileStateGet(states, "b", &state), 0);
    });
    EXPECT_EQ(Field("added", "/a"), added);
}

TEST_P(FileState_, WhatCameAboutWithoutTheTriggersIsMendedWhenTheRulesChange) {
    Complete([] {
        for (const char *path : {"/a", "/b"})
            EXPECT_EQ(SaveFile(path, Found("1")), 0);
    });
    {
        Peer peer;
        EXPECT_GE(
            peer.Exec("insert into file_state (path, stamp, added, trouble) values ('/lost', '1', '', '')"),
            1);
        EXPECT_EQ(peer.Exec("delete from file_state where path = '/a'"), 1);
    }
    Appliance([] { EXPECT_EQ(Save(kMediaMusic, "/c"), 0); });
    Complete([] { EXPECT_EQ(Save(kMediaMusic, "/d"), 0); });
    EXPECT_EQ(Paths("file_state"), "/a|/b|/c|/d");
    ExpectNothingLost();
}

TEST_P(FileState_, ANewerProgramsTablesAreLeftAloneButFollowed) {
    Complete([] {
        EXPECT_EQ(SaveFile("/a", Found("1")), 0);
        EXPECT_EQ(SaveFile("/b", Found("1")), 0);
    });
    EXPECT_EQ(Peer().Exec("update file_schema_version set version = 2"), 1);
    LogCatcher log;
    EXPECT_EQ(Complete([] {
                  EXPECT_EQ(SaveFile("/c", Found("1")), -1);
                  EXPECT_EQ(Save(kMediaMusic, "/d"), -1);
              }),
              -1);
    EXPECT_EQ(
        log.Lines(
               "The database of the media catalogue has tables about files of version 2, this program knows "
               "them up to version 1.")
            .size(),
        1u);
    EXPECT_EQ(Appliance([] { EXPECT_EQ(MediaInfoDBDelete(kMediaMusic, "/a"), 0); }), 0);
    EXPECT_EQ(Paths("file_state"), "/b");
    EXPECT_EQ(Peer().Query("select rules as x from file_rules"), "complete")
        << "is the newer program's to say";
}

TEST_P(FileState_, EmptyingTheTableForgetsStampsAndTroublesOnly) {
    LogCatcher log;
    EXPECT_EQ(VELUTruncateTable("file_state"), -1);
    EXPECT_EQ(log.Lines("There is no table [file_state] to empty.").size(), 1u);
    Complete([] {
        EXPECT_EQ(SaveFile("/a", Found("1")), 0);
        EXPECT_EQ(SaveFile("/b", {.stamp = "1", .trouble = "slow", .folded_name = ""}), 0);
    });
    EXPECT_EQ(Peer().Exec("update file_state set added = 'long ago'"), 2);
    EXPECT_EQ(VELUTruncateTable("file_state"), 0);
    EXPECT_EQ(Peer().Query("select stamp || trouble || added as x from file_state"), "long ago|long ago");
    EXPECT_EQ(Peer().Count("fact"), 2);
    for (const char *name : {"file_fact", "fact", "fact_name", "file_entry", "playlist_entry", "file_rules"})
        EXPECT_EQ(VELUTruncateTable(name), -1) << name;
}

// --- All or nothing ----------------------------------------------------------------------------------------

// Refuses facts of some value; on SQLite by giving the whole transaction up when it is "rollback".
void RefuseFacts(bool sqlite) {
    Peer peer;
    if (!sqlite) {
        EXPECT_EQ(peer.Exec("alter table file_fact add check (value not in ('bad', 'rollback'))"), 0);
        return;
    }
    EXPECT_EQ(
        peer.Exec("create trigger no_bad before insert on file_fact when new.value = 'bad' begin select "
                  "raise(abort, 'bad'); end"),
        0);
    EXPECT_EQ(
        peer.Exec("create trigger no_rollback before insert on file_fact when new.value = 'rollback' begin "
                  "select raise(rollback, 'given up'); end"),
        0);
}

TEST_P(FileState_, WhatIsRefusedOfAFileCostsTheFileAloneAndAllOfIt) {
    Complete([] { EXPECT_EQ(SaveFile("/2", Found("old")), 0); });
    RefuseFacts(OnSqlite());
    for (const std::string_view value : {"bad", "rollback"}) {
        const FileFact refused[] = {{"artist", 0, "good", "good"}, {"fresh", 0, value, value}};
        LogCatcher log;
        VELUIndexRunBegin();
        VELUIndexRunRules(RuleSet::complete);
        for (int i = 0; i < 40; ++i) {
            const bool bad = i % 10 == 2;
            const MediaInfo record = Record("/" + std::to_string(i), "new");
            EXPECT_EQ(MediaInfoDBSaveFile(kMediaMusic, &record, bad ? Found("new", refused) : Found("new")),
                      bad ? -1 : 0);
        }
        EXPECT_EQ(VELUIndexRunEnd(), 0);
        EXPECT_EQ(log.Lines("failed at [/2]").size(), 1u) << value;
        EXPECT_EQ(Peer().Count("music"), 37);
        EXPECT_EQ(Peer().Query("select title as x from music where path = '/2'"), "title") << "the old row";
        EXPECT_EQ(Field("stamp", "/2"), "old");
        EXPECT_EQ(Facts("/2"), "artist/0=ABBA<abba|artist/1=b<b");
        EXPECT_EQ(Peer().Query("select count(*) as x from file_state where stamp = 'new'"), "36");
        EXPECT_EQ(Peer().Count("file_fact"), 37 * 2);
        ExpectNothingLost();
        EXPECT_EQ(Peer().Exec("delete from music where path <> '/2'"), 36);
    }
}

TEST_P(FileState_, WithAReaderOnTheConnectionEachFileIsStillWhole) {
    Complete([] { EXPECT_EQ(SaveFile("/0", Found("1")), 0); });
    RefuseFacts(OnSqlite());
    Complete([] {
        VELUIndexRows *rows = MediaInfoDBOpen(kMediaMusic, "path", nullptr, nullptr, 0);
        ASSERT_NE(rows, nullptr);
        const FileFact refused[] = {{"artist", 0, "good", "good"}, {"artist", 1, "bad", "bad"}};
        EXPECT_EQ(SaveFile("/1", Found("1")), 0);
        EXPECT_EQ(SaveFile("/2", Found("1", refused)), -1);
        EXPECT_EQ(Paths("file_state"), "/0|/1") << "at once";
        MediaInfoDBClose(rows);
    });
    EXPECT_EQ(Paths("music"), "/0|/1");
    EXPECT_EQ(Peer().Count("file_fact"), 4);
    ExpectNothingLost();
}

TEST_P(FileState_, WithoutTheTablesAFileIsNotSaved) {
    EXPECT_EQ(SaveFile(kSong, Found("1")), -1);
    EXPECT_EQ(Peer().Count("music"), 0);
    EXPECT_EQ(SaveFile("", Found("1")), -1);
    EXPECT_EQ(SaveFile(kSong, Found("1"), 4), -1);
    EXPECT_EQ(MediaInfoDBSaveFile(kMediaMusic, nullptr, Found("1")), -1);
}

// --- Reading -----------------------------------------------------------------------------------------------

TEST_P(FileState_, AFoldersStatesAreThoseOfItsFiles) {
    const std::string names[] = {"a", "a.b", "a0", "b", "\xff", "\xc3\xa9", "%", "z"};
    Complete([&] {
        for (const std::string &name : names) {
            EXPECT_EQ(SaveFile("/m/d/" + name, Found("s" + name)), 0);
            EXPECT_EQ(SaveFile("/m/d/" + name + ".d/" + name, Found("below")), 0);
        }
        for (int i = 0; i < 300; ++i) {
            EXPECT_EQ(SaveFile("/m/d/many/" + std::to_string(i), Found("below")), 0);
            EXPECT_EQ(SaveFile("/m/d/n" + std::to_string(i), Found(std::to_string(i))), 0);
        }
        EXPECT_EQ(SaveFile("/m/d0", Found("beside")), 0);
        EXPECT_EQ(SaveFile("/m/d", {.stamp = "", .trouble = "of the folder", .folded_name = ""}), 0);
        for (const char *folder : {"/m/d", "/m/d//"}) {
            FileStates states;
            ASSERT_EQ(FileStatesRead(folder, &states), 0);
            EXPECT_EQ(states.offsets.size(), std::size(names) + 300);
            EXPECT_TRUE(states.whole);
            FileState state;
            for (const std::string &name : names) {
                EXPECT_EQ(FileStateGet(states, name, &state), 1) << name;
                EXPECT_EQ(state.stamp + state.trouble, "s" + name);
            }
            EXPECT_EQ(FileStateGet(states, "n299", &state), 1);
            EXPECT_EQ(state.stamp, "299");
            for (const char *none : {"", "many", "a.d", "n300", "\xff\xff", "A"})
                EXPECT_EQ(FileStateGet(states, none, &state), 0) << none;
        }
        FileState state;
        EXPECT_EQ(FileStateOf("/m/d", &state), 1);
        EXPECT_EQ(state.trouble, "of the folder");
        EXPECT_EQ(FileStateOf("/m", &state), 0);
        FileStates none;
        EXPECT_EQ(FileStatesRead("/nowhere", &none), 0);
        EXPECT_TRUE(none.whole && none.offsets.empty());
    });
}

TEST_P(FileState_, OfALargeFolderTheLastAreLookedUpOneByOne) {
    Complete([] { EXPECT_EQ(Save(kMediaMusic, "/a"), 0); });
    const std::string numbers =
        "with recursive n (i) as (select 0 union all select i + 1 from n where i + 1 < " +
        std::to_string(kFileStatesMax) + ") ";
    ASSERT_EQ(Peer().Exec("insert into file_state (path, stamp, added, trouble) " + numbers +
                          "select '/d/' || (100000 + i), cast(i as text), '', '' from n"),
              static_cast<int>(kFileStatesMax));
    const std::string last = std::to_string(100000 + kFileStatesMax);
    Complete([&] {
        FileStates states;
        ASSERT_EQ(FileStatesRead("/d", &states), 0);
        EXPECT_TRUE(states.whole);
        EXPECT_EQ(states.offsets.size(), kFileStatesMax);
        EXPECT_EQ(Peer().Exec("insert into file_state (path, stamp, added, trouble) values ('/d/" + last +
                              "', 'last', '', '')"),
                  1);
        ASSERT_EQ(FileStatesRead("/d", &states), 0);
        EXPECT_FALSE(states.whole);
        EXPECT_EQ(states.offsets.size(), kFileStatesMax);
        FileState state;
        EXPECT_EQ(FileStateGet(states, "100007", &state), 1);
        EXPECT_EQ(state.stamp, "7");
        EXPECT_EQ(FileStateGet(states, last, &state), 1);
        EXPECT_EQ(state.stamp, "last");
        EXPECT_EQ(FileStateGet(states, last + "1", &state), 0);
        EXPECT_EQ(FileStateGet(states, "0", &state), 0);
    });
}

// --- Another database --------------------------------------------------------------------------------------

TEST_P(FileState_, TheyMoveToADatabaseOfTheOtherEngine) {
    const FileEntry entries[] = {{0, "a", "/found", "a"}, {1, "b", "", "b"}};
    FileFindings list = Found("1");
    list.entries = entries;
    Complete([&] {
        EXPECT_EQ(SaveFile("/gone", Found("1")), 0);
        for (int i = 0; i < 250; ++i)
            EXPECT_EQ(SaveFile("/" + std::to_string(i) + "\xff", Found(std::to_string(i))), 0);
        EXPECT_EQ(SaveFile("/list", list, kMediaPlaylist), 0);
        EXPECT_EQ(MediaInfoDBDelete(kMediaMusic, "/gone"), 0);
    });
    EXPECT_EQ(Peer().Exec("update file_state set added = 'long ago' where path = '/list'"), 1);
    const std::string other = OnSqlite() && EngineIsReady("postgresql") ? EmptyServerDatabase("unit_moved")
                                                                        : "sqlite:" + kFolder + "/moved.db";
    std::vector<TableCopied> copied;
    ASSERT_EQ(CatalogueCopy(Catalogue::media, media_uri.c_str(), other.c_str(), &copied), 0);
    for (const char *query :
         {"select path || stamp || added || trouble || folded_name as x from file_state order by path",
          "select path || name || position || value || folded as x from fact order by path, name, position",
          "select path || position || target || found as x from playlist_entry order by position",
          "select id || path as x from file_state order by id", "select rules as x from file_rules"})
        EXPECT_EQ(Peer(other).Query(query), Peer().Query(query)) << query;
    EXPECT_EQ(Peer(other).Count("file_fact"), 251 * 2);
    // The counters go on behind what has come.
    EXPECT_EQ(Peer(other).Exec("insert into music (path) values ('/next')"), 1);
    EXPECT_EQ(Peer(other).Count("file_state"), 252);
}

TEST_P(FileState_, WithoutTheTablesNoneAreMade) {
    EXPECT_EQ(Save(kMediaMusic, "/a"), 0);
    const std::string other = "sqlite:" + kFolder + "/moved.db";
    std::vector<TableCopied> copied;
    ASSERT_EQ(CatalogueCopy(Catalogue::media, media_uri.c_str(), other.c_str(), &copied), 0);
    EXPECT_EQ(Peer(other).Query("select path as x from file_state").find("error"), 0u);
}

} // namespace
