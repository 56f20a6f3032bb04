// SPDX-License-Identifier: GPL-2.0-or-later
//
// Folded texts of the catalogue: names that were not folded when their rows came, and what an older folding has left.
#include "file_store_fixture.h"
#include "platform/folding/folding.h"
#include "platform/limits.h"

namespace {

class FileFolding : public FileStore {
protected:
    static std::string Version() {
        return Peer().Query(
            "select version || '/' || coalesce(cast(folded_to as text), 'all') as x from file_folding");
    }
    static std::string Present() { return std::to_string(FoldingVersion()) + "/all"; }

    // As a program has left it whose folding was another.
    static void FoldOtherwise(int64_t version, const std::string &folded_to = "null") {
        Peer peer;
        EXPECT_GE(peer.Exec("update file_state set folded_name = 'other'"), 0);
        EXPECT_GE(peer.Exec("update file_fact set folded = 'other'"), 0);
        EXPECT_EQ(peer.Exec("update file_folding set version = " + std::to_string(version) +
                            ", folded_to = " + folded_to),
                  1);
    }

    static std::string Names() {
        return Peer().Query("select folded_name as x from file_state order by path");
    }
};
ON_ALL_ENGINES(FileFolding);

constexpr FileFact kArtists[] = {{"artist", 0, "Bj\u00F6rk", "bjork"}, {"artist", 1, "u2", "u2"}};

TEST_P(FileFolding, NamesAreOfTheLastComponentAndItsText) {
    EXPECT_EQ(FileNameFolded("/Volume/\u00C9t\u00E9/01 \u00C9t\u00E9.MP3"), "01 ete.mp3");
    EXPECT_EQ(FileNameFolded("/a/caf\xe9.mp3"), "cafe.mp3") << "of ISO-8859-1";
    EXPECT_EQ(FileNameFolded("Name"), "name");
    EXPECT_EQ(FileNameFolded("/a/"), "");
    EXPECT_EQ(FileNameFolded("/" + std::string(255, 'X')), std::string(255, 'x'));
    EXPECT_EQ(FileNameFolded("/" + std::string(300, 'X')), std::string(kFactFoldedMax, 'x'));
}

TEST_P(FileFolding, ANewCatalogueIsOfThePresentFolding) {
    Complete([] { EXPECT_EQ(SaveFile(kStoredSong, Found("1", kArtists)), 0); });
    EXPECT_EQ(Version(), Present());
    EXPECT_EQ(Names(), "song.mp3");
}

TEST_P(FileFolding, NamesOfOtherOperationsAreFoldedAtTheEnd) {
    Complete([] { EXPECT_EQ(FileNamesFold(), 0) << "nothing was asked of the catalogue"; });
    EXPECT_FALSE(HasTables());
    Appliance([] { EXPECT_EQ(Save(kMediaMusic, "/\u00C9.mp3"), 0); });
    Complete([] {
        for (int i = 0; i < 1100; ++i)
            EXPECT_EQ(Save(kMediaMusic, "/many/" + std::to_string(i) + ".MP3"), 0);
        EXPECT_EQ(Save(kMediaVideo, "/\u0301"), 0) << "of which nothing is left";
        EXPECT_EQ(FileNamesFold(), 0);
        EXPECT_EQ(FileNamesFold(), 0);
    });
    EXPECT_EQ(Peer().Query("select count(*) as x from file_state where folded_name like '%.mp3'"), "1101");
    EXPECT_EQ(Peer().Query("select path as x from file_state where folded_name = ''"), "/\u0301");
    EXPECT_EQ(Peer().Exec("update music set path = '/MOVED' where path = '/many/7.MP3'"), 1);
    Complete([] {
        EXPECT_TRUE(FileTablesThere());
        EXPECT_EQ(FileNamesFold(), 0);
    });
    EXPECT_EQ(Field("folded_name", "/MOVED"), "moved");
}

TEST_P(FileFolding, AnOlderFoldingIsDoneAgainByTheFirstRun) {
    Complete([] {
        for (int i = 0; i < 300; ++i)
            EXPECT_EQ(SaveFile("/" + std::to_string(i) + "\u00C9",
                               {.stamp = "1", .folded_name = "x", .facts = kArtists}),
                      0);
        EXPECT_EQ(SaveFile("/caf\xe9", {.stamp = "1", .folded_name = "x"}), 0);
    });
    for (const int64_t version : {int64_t{0}, FoldingVersion() - 1}) {
        FoldOtherwise(version);
        Complete([] { EXPECT_TRUE(FileTablesThere()); });
        EXPECT_EQ(Version(), Present());
        EXPECT_EQ(
            Peer().Query("select folded_name as x from file_state where path >= '/c' or path = '/17\u00C9' "
                         "order by path"),
            "17e|cafe");
        EXPECT_EQ(Peer().Query("select count(*) as x from file_state where folded_name = 'other'"), "0");
        EXPECT_EQ(Peer().Query("select count(*) as x from fact where name = 'artist' and folded = 'bjork'"),
                  "300");
        EXPECT_EQ(Peer().Query("select count(*) as x from file_fact where folded is null"), "300")
            << "it is the value";
        EXPECT_EQ(Field("stamp", "/17\u00C9"), "1") << "nothing is read again";
    }
}

TEST_P(FileFolding, WhereItStoppedItGoesOn) {
    Complete([] {
        for (int i = 100; i < 400; ++i)
            EXPECT_EQ(SaveFile("/" + std::to_string(i), Found("1", kArtists)), 0);
    });
    const std::string reached = Peer().Query("select id as x from file_state where path = '/249'");
    FoldOtherwise(FoldingVersion(), reached);
    Complete([] { EXPECT_TRUE(FileTablesThere()); });
    EXPECT_EQ(Version(), Present());
    EXPECT_EQ(Peer().Query("select min(path) as x from file_state where folded_name <> 'other'"), "/250");
    EXPECT_EQ(Peer().Query("select count(*) as x from fact where folded = 'bjork'"), "150");
    EXPECT_EQ(Peer().Query("select count(*) as x from fact where folded = 'other'"), "300");
    // Another folding still begins at the begin.
    FoldOtherwise(FoldingVersion() - 1, reached);
    Complete([] { EXPECT_TRUE(FileTablesThere()); });
    EXPECT_EQ(Peer().Query("select count(*) as x from fact where folded = 'bjork'"), "300");
}

TEST_P(FileFolding, WhenItCannotBeStoredItIsDoneByTheNextRun) {
    Complete([] {
        for (int i = 100; i < 300; ++i)
            EXPECT_EQ(SaveFile("/" + std::to_string(i), Found("1", kArtists)), 0);
    });
    FoldOtherwise(1);
    const bool sqlite = OnSqlite();
    EXPECT_GE(
        Peer().Exec(
            sqlite ? "create trigger refuse before update on file_state when new.path = '/250' begin select "
                     "raise(abort, 'no'); end"
                   : "alter table file_state add constraint refuse check (path <> '/250' or folded_name = "
                     "'other')"),
        0);
    LogCatcher log;
    EXPECT_EQ(Complete([] { EXPECT_FALSE(FileTablesThere()); }), -1);
    EXPECT_EQ(log.Lines("Failed to prepare the media catalogue").size(), 1u);
    const int done = atoi(Peer().Query("select count(*) as x from fact where folded = 'bjork'").c_str());
    EXPECT_GT(done, 0);
    EXPECT_LE(done, 150);
    EXPECT_EQ(atoi(Peer().Query("select count(*) as x from file_state where folded_name <> 'other'").c_str()),
              done)
        << "names and facts of the same files";
    EXPECT_GE(Peer().Exec(sqlite ? "drop trigger refuse" : "alter table file_state drop constraint refuse"),
              0);
    EXPECT_EQ(Complete([] { EXPECT_TRUE(FileTablesThere()); }), 0);
    EXPECT_EQ(Version(), Present());
    EXPECT_EQ(Peer().Query("select count(*) as x from fact where folded = 'bjork'"), "200");
}

TEST_P(FileFolding, TextsOfANewerFoldingStayAndAreNotTrusted) {
    Complete([] { EXPECT_EQ(SaveFile(kStoredSong, Found("1", kArtists)), 0); });
    FoldOtherwise(FoldingVersion() + 1);
    Complete([] { EXPECT_TRUE(FileTablesThere()); });
    EXPECT_EQ(Names(), "other");
    EXPECT_EQ(Version(), Present()) << "the newer program folds again what this one writes";
}

TEST_P(FileFolding, CataloguesOfBeforeHaveAllOfItFolded) {
    Complete([] { EXPECT_EQ(SaveFile(kStoredSong, Found("1", kArtists)), 0); });
    FoldOtherwise(0);
    {
        Peer peer;
        const std::string of_table = OnSqlite() ? "" : " on file_state";
        for (const std::string &sql :
             {"drop trigger file_state_named" + of_table, "drop trigger file_state_gone" + of_table,
              std::string("drop index file_entry_resolved"), std::string("drop index file_entry_unresolved"),
              std::string("alter table file_entry drop column written"),
              std::string("alter table file_entry drop column unresolved"),
              std::string("create index file_entry_folded_name on file_entry (folded_name)"),
              std::string("drop index file_state_unfolded"), std::string("drop table file_folding")})
            EXPECT_GE(peer.Exec(sql), 0) << sql;
        for (const char *function : {"velu_file_named", "velu_file_gone"})
            EXPECT_GE(OnSqlite() ? 0 : peer.Exec(std::string("drop function ") + function), 0);
        EXPECT_EQ(peer.Exec("update file_schema_version set version = 1"), 1);
    }
    Complete([] { EXPECT_TRUE(FileTablesThere()); });
    EXPECT_EQ(Version(), Present());
    EXPECT_EQ(Names(), "song.mp3");
    EXPECT_EQ(Facts(), "artist/0=Bj\u00F6rk<bjork|artist/1=u2<u2");
}

} // namespace
