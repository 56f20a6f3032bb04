// SPDX-License-Identifier: GPL-2.0-or-later
//
// Facts and entries of files: one unit with the row.
#include "file_store_fixture.h"
#include "platform/limits.h"

namespace {

class FileFacts : public FileStore {};
ON_ALL_ENGINES(FileFacts);

TEST_P(FileFacts, ARowAndWhatIsKnownOfItsFileAreSavedTogether) {
    Complete([] {
        EXPECT_EQ(SaveFile(kStoredSong,
                           {.stamp = "1", .trouble = "a crash", .folded_name = "f", .facts = kTwoFacts}),
                  0);
    });
    EXPECT_EQ(Paths("music"), kStoredSong);
    EXPECT_EQ(Field("stamp") + Field("trouble") + Field("folded_name"), "1a crashf");
    EXPECT_EQ(Facts(), "artist/0=ABBA<abba|artist/1=b<b");
    EXPECT_EQ(Peer().Query("select count(*) as x from file_fact where folded is null"), "1")
        << "it is the value";
    const std::string added = Field("added");
    ASSERT_EQ(added.size(), strlen("2026-11-22T10:11:12Z"));
    EXPECT_EQ(Peer().Exec("update file_state set added = '2001-01-01T00:00:00Z'"), 1);
    const FileFact other[] = {{"codec", 0, "mp3", "mp3"}};
    Complete([&] { EXPECT_EQ(SaveFile(kStoredSong, Found("2", other)), 0); });
    EXPECT_EQ(Field("stamp") + Field("trouble"), "2");
    EXPECT_EQ(Field("added"), "2001-01-01T00:00:00Z");
    EXPECT_EQ(Facts(), "codec/0=mp3<mp3");
    ExpectNothingLost();
}

TEST_P(FileFacts, AnyNumberOfFactsAndEntriesArrives) {
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

TEST_P(FileFacts, LongTextsAreCutAtACharacter) {
    const std::string value = std::string(kFactValueMax - 1, 'v') + "\xc3\xa9";
    const std::string folded = std::string(kFactFoldedMax - 2, 'f') + "\xe2\x82\xac";
    const std::string full_value(kFactValueMax, 'x');
    const std::string full_folded(kFactFoldedMax, 'y');
    const FileFact kept[] = {{"lyrics", 0, value, folded},
                             {"lyrics", 1, std::string_view(value).substr(0, kFactValueMax - 1),
                              std::string_view(folded).substr(0, kFactFoldedMax - 2)},
                             {"lyrics", 2, full_value, full_folded}};
    Complete([&] { EXPECT_EQ(SaveFile(kStoredSong, Found("1", kept)), 0); });
    const std::string bytes = OnSqlite() ? "length(cast(" : "octet_length((";
    const std::string end = OnSqlite() ? " as blob))" : "))";
    EXPECT_EQ(Peer().Query("select " + bytes + "value" + end + " as x from fact order by position"),
              "4095|4095|4096");
    EXPECT_EQ(Peer().Query("select " + bytes + "folded" + end + " as x from fact order by position"),
              "254|254|256");
}

// Calls that have written to files.
long WriteCalls() {
    std::ifstream io("/proc/self/io");
    for (std::string key, value; io >> key >> value;)
        if (key == "syscw:")
            return std::stol(value);
    ADD_FAILURE() << "no count of writes";
    return 0;
}

TEST_P(FileFacts, ManyFactsCostFewWrites) {
    constexpr int kFiles = 300,
                  kFacts = 30; // of which one file's lie on more pages than SQLite keeps by itself
    Complete([] {
        std::vector<std::string> words(kFacts);
        std::vector<FileFact> facts(kFacts);
        const long before = WriteCalls();
        for (int file = 0; file < kFiles; ++file) {
            for (int i = 0; i < kFacts; ++i) {
                const auto place = static_cast<size_t>(i);
                words[place] = std::to_string((file * kFacts + i) * 7919 % 10007) + " in no order";
                facts[place] = {"keyword", i, words[place], words[place]};
            }
            ASSERT_EQ(SaveFile("/volume1/music/" + std::to_string(file) + ".mp3", Found("1", facts)), 0);
        }
        EXPECT_LT(WriteCalls() - before, 10 * kFiles);
    });
    EXPECT_EQ(Peer().Count("file_fact"), kFiles * kFacts);
}

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

TEST_P(FileFacts, WhatIsRefusedOfAFileCostsTheFileAloneAndAllOfIt) {
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

TEST_P(FileFacts, WithAReaderOnTheConnectionEachFileIsStillWhole) {
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

TEST_P(FileFacts, WithoutTheTablesAFileIsNotSaved) {
    EXPECT_EQ(SaveFile(kStoredSong, Found("1")), -1);
    EXPECT_EQ(Peer().Count("music"), 0);
    EXPECT_EQ(SaveFile("", Found("1")), -1);
    EXPECT_EQ(SaveFile(kStoredSong, Found("1"), 4), -1);
    EXPECT_EQ(MediaInfoDBSaveFile(kMediaMusic, nullptr, Found("1")), -1);
}

} // namespace
