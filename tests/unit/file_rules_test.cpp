// SPDX-License-Identifier: GPL-2.0-or-later
//
// The tables about files by whichever rules: when they are made, what was there before, other programs, other databases.
#include <stdlib.h>
#include <time.h>

#include "file_store_fixture.h"
#include "platform/index/catalogue_copy.h"

namespace {

class FileRules : public FileStore {};
ON_ALL_ENGINES(FileRules);

TEST_P(FileRules, TheTablesComeWithTheFirstRunThatWantsThem) {
    EXPECT_EQ(Appliance([] { EXPECT_EQ(Save(kMediaMusic, kStoredSong), 0); }), 0);
    EXPECT_FALSE(HasTables());
    EXPECT_EQ(Complete([] {}), 0);
    EXPECT_FALSE(HasTables()) << "nothing was asked of the store";
    EXPECT_EQ(Complete([] { EXPECT_EQ(Save(kMediaMusic, "/b"), 0); }), 0);
    EXPECT_TRUE(HasTables());
    EXPECT_EQ(Peer().Query("select version as x from file_schema_version"), "3");
    EXPECT_EQ(Peer().Query("select version as x from schema_version"), "1")
        << "an older program opens the rest";
    EXPECT_EQ(Peer().Query("select rules as x from file_rules"), "complete");
    EXPECT_EQ(Paths("file_state"), "/b|" + kStoredSong);
    ExpectNothingLost();
}

TEST_P(FileRules, WhatWasThereBeforeWasAddedAtTheEarlierOfItsTimes) {
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

TEST_P(FileRules, OtherRulesForgetAllStamps) {
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

TEST_P(FileRules, AnOlderProgramLeavesThemTrue) {
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
        FileState state;
        EXPECT_EQ(FileStateOf("/a", &state), 1);
        EXPECT_EQ(state.stamp, "") << "it is read again";
        EXPECT_EQ(FileStateOf("/x", &state), 1);
        EXPECT_EQ(state.stamp, "1");
        EXPECT_EQ(FileStateOf("/b", &state), 0);
    });
    EXPECT_EQ(Field("added", "/a"), added);
}

TEST_P(FileRules, WhatCameAboutWithoutTheTriggersIsMendedWhenTheRulesChange) {
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

TEST_P(FileRules, ANewerProgramsTablesAreLeftAloneButFollowed) {
    Complete([] {
        EXPECT_EQ(SaveFile("/a", Found("1")), 0);
        EXPECT_EQ(SaveFile("/b", Found("1")), 0);
    });
    EXPECT_EQ(Peer().Exec("update file_schema_version set version = 4"), 1);
    LogCatcher log;
    EXPECT_EQ(Complete([] {
                  EXPECT_EQ(SaveFile("/c", Found("1")), -1);
                  EXPECT_EQ(Save(kMediaMusic, "/d"), -1);
              }),
              -1);
    EXPECT_EQ(
        log.Lines(
               "The database of the media catalogue has tables about files of version 4, this program knows "
               "them up to version 3.")
            .size(),
        1u);
    EXPECT_EQ(Appliance([] { EXPECT_EQ(MediaInfoDBDelete(kMediaMusic, "/a"), 0); }), 0);
    EXPECT_EQ(Paths("file_state"), "/b");
    EXPECT_EQ(Peer().Query("select rules as x from file_rules"), "complete")
        << "is the newer program's to say";
}

TEST_P(FileRules, TheyMoveToADatabaseOfTheOtherEngine) {
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
          "select id || path as x from file_state order by id", "select rules as x from file_rules",
          "select version as x from file_folding"})
        EXPECT_EQ(Peer(other).Query(query), Peer().Query(query)) << query;
    EXPECT_EQ(Peer(other).Count("file_fact"), 251 * 2);
    // The counters go on behind what has come.
    EXPECT_EQ(Peer(other).Exec("insert into music (path) values ('/next')"), 1);
    EXPECT_EQ(Peer(other).Count("file_state"), 252);
}

TEST_P(FileRules, WithoutTheTablesNoneAreMade) {
    EXPECT_EQ(Save(kMediaMusic, "/a"), 0);
    const std::string other = "sqlite:" + kFolder + "/moved.db";
    std::vector<TableCopied> copied;
    ASSERT_EQ(CatalogueCopy(Catalogue::media, media_uri.c_str(), other.c_str(), &copied), 0);
    EXPECT_EQ(Peer(other).Query("select path as x from file_state").find("error"), 0u);
}

} // namespace
