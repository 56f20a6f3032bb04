// SPDX-License-Identifier: GPL-2.0-or-later
//
// Entries of playlists and the files that they mean, while these come, go and move.
#include <unistd.h>

#include "catalogue/playlist_entries.h"
#include "catalogue/shares.h"
#include "file_store_fixture.h"
#include "platform/folding/folding.h"
#include "platform/playlist_bounds.h"

namespace {

const std::string kMusic = "/volume1/music";
const std::string kList = kMusic + "/Lists/list.m3u8";

class PlaylistResolve : public FileStore {
protected:
    void SetUp() override {
        FileStore::SetUp();
        std::filesystem::create_directories("/var/services");
        unlink(kMusicShareLink);
        ASSERT_EQ(symlink(kMusic.c_str(), kMusicShareLink), 0);
    }
    void TearDown() override {
        unlink(kMusicShareLink);
        FileStore::TearDown();
    }

    // A run, with what follows at its end.
    static void Run(const std::function<void()> &work) {
        EXPECT_EQ(Complete([&] {
                      EXPECT_TRUE(FileTablesThere());
                      work();
                      EXPECT_EQ(FileNamesFold(), 0);
                      EXPECT_EQ(PlaylistsResolve(), 0);
                  }),
                  0);
    }

    static void ListSave(const std::vector<std::string> &targets, const std::string &path = kList,
                         const std::string &written = {}) {
        EntryList list;
        for (const std::string &target : targets)
            EntryAdd(&list, target, written);
        const EntryRows rows = EntryRowsOf(list);
        EXPECT_EQ(rows.entries.size(), targets.size());
        FileFindings findings = Found("1", {});
        findings.entries = rows.entries;
        EXPECT_EQ(SaveFile(path, findings, kMediaPlaylist), 0);
    }
    static void FilesSave(const std::vector<std::string> &paths) {
        for (const std::string &path : paths)
            EXPECT_EQ(SaveFile(kMusic + '/' + path, {.stamp = "1", .folded_name = FileNameFolded(path)}), 0);
    }
    static void FileRemove(const std::string &path) {
        EXPECT_EQ(MediaInfoDBDelete(kMediaMusic, (kMusic + '/' + path).c_str()), 0);
    }

    // What the entries of a list have found, below the share.
    static std::string FoundBy(const std::string &list = kList) {
        std::string found = Peer().Query("select found as x from playlist_entry where path = '" + list +
                                         "' order by position");
        for (size_t at = found.find(kMusic + '/'); at != std::string::npos; at = found.find(kMusic + '/'))
            found.erase(at, kMusic.size() + 1);
        return found;
    }
    static std::string Unresolved() {
        return Peer().Query("select count(*) as x from file_entry where unresolved = 1");
    }
};
ON_ALL_ENGINES(PlaylistResolve);

TEST_P(PlaylistResolve, ByBytesElseByNormalFormElseWithoutCase) {
    Run([] {
        FilesSave({"A/x.mp3", "A/X.mp3", "A/caf\u00E9.mp3", "B/cafe\u0301.mp3", "C/CAFE\u0301.MP3",
                   "C/caFE\u0301.mp3", "D/cafe.mp3", "E/caf\xE9.mp3", "F/Stra\u00DFe.mp3"});
        ListSave({"../A/x.mp3", "../A/X.mp3", "../a/x.MP3", "../A/caf\u00E9.mp3", "../B/caf\u00E9.mp3",
                  "../C/caf\u00E9.mp3", "../D/caf\u00E9.mp3", "../E/caf\u00E9.mp3", "../F/STRASSE.mp3",
                  "none.mp3", "http://x/A/x.mp3"});
    });
    EXPECT_EQ(FoundBy(), "A/x.mp3|A/X.mp3|A/X.mp3|A/caf\u00E9.mp3|B/cafe\u0301.mp3|C/CAFE\u0301.MP3||E/"
                         "caf\xE9.mp3|F/Stra\u00DFe.mp3||");
    EXPECT_EQ(Peer().Query("select target as x from playlist_entry where position = 10"), "http://x/A/x.mp3");
    EXPECT_EQ(Unresolved(), "0");
}

TEST_P(PlaylistResolve, AgainWhenFilesComeGoAndMove) {
    Run([] { ListSave({"../A/b.mp3", "../A/c.mp3", "A/b.mp3"}); });
    EXPECT_EQ(FoundBy(), "||");
    Run([] { FilesSave({"A/B.mp3", "A/other.mp3"}); });
    EXPECT_EQ(FoundBy(), "A/B.mp3||") << "without case";
    Run([] { FilesSave({"A/b.mp3"}); });
    EXPECT_EQ(FoundBy(), "A/b.mp3||") << "its bytes are nearer";
    EXPECT_EQ(
        Peer().Exec("update music set path = '" + kMusic + "/A/c.mp3' where path = '" + kMusic + "/A/b.mp3'"),
        1);
    Run([] {});
    EXPECT_EQ(FoundBy(), "A/B.mp3|A/c.mp3|");
    Run([] { FileRemove("A/B.mp3"); });
    EXPECT_EQ(FoundBy(), "|A/c.mp3|");
    Run([] { EXPECT_EQ(MediaInfoDBDelete(kMediaTree, (kMusic + "/A").c_str()), 0); });
    EXPECT_EQ(FoundBy(), "||");
    // By other programs, and by other rules, too.
    EXPECT_EQ(Appliance([] { EXPECT_EQ(Save(kMediaMusic, kMusic + "/A/b.mp3"), 0); }), 0);
    EXPECT_EQ(FoundBy(), "||") << "until the next run";
    Run([] {});
    EXPECT_EQ(FoundBy(), "A/b.mp3||");
    EXPECT_EQ(Peer().Exec("delete from music"), 1);
    Run([] {});
    EXPECT_EQ(FoundBy(), "||");
}

TEST_P(PlaylistResolve, AListThatMovesMeansOtherFiles) {
    const std::string moved = kMusic + "/B/list.m3u8";
    Run([] {
        FilesSave({"Lists/b.mp3", "B/b.mp3"});
        ListSave({"b.mp3", "http://x/"});
    });
    EXPECT_EQ(FoundBy(), "Lists/b.mp3|");
    EXPECT_EQ(Peer().Exec("update playlist set path = '" + moved + "'"), 1);
    EXPECT_EQ(Unresolved(), "1");
    Run([] {});
    EXPECT_EQ(FoundBy(moved), "B/b.mp3|");
    EXPECT_EQ(Peer().Exec("delete from playlist"), 1);
    EXPECT_EQ(Peer().Count("file_entry"), 0);
}

TEST_P(PlaylistResolve, NamesThatAreSpelledLikeSomethingElse) {
    Run([] {
        FilesSave({"Lists/a%20b.mp3", "Lists/c d.mp3", "Lists/x\\y.mp3", "Lists/caf\xE9.mp3",
                   "Lists/caf\u00E9.mp3", "Lists/\xC1.mp3"});
        ListSave({"a%20b.mp3", "c%20d.mp3", "x\\y.mp3", "file://" + kMusic + "/Lists/c%20d.mp3",
                  "Z:\\Lists\\c d.mp3"});
        ListSave({"caf\u00E9.mp3"}, kMusic + "/Lists/2", "caf\xE9.mp3");
        ListSave({"\u0411.mp3"}, kMusic + "/Lists/3", "\xC1.mp3");
    });
    EXPECT_EQ(FoundBy(), "Lists/a%20b.mp3|Lists/c d.mp3|Lists/x\\y.mp3|Lists/c d.mp3|Lists/c d.mp3");
    EXPECT_EQ(FoundBy(kMusic + "/Lists/2"), "Lists/caf\xE9.mp3") << "its bytes";
    EXPECT_EQ(FoundBy(kMusic + "/Lists/3"), "Lists/\xC1.mp3");
    Run([] {
        for (const char *path : {"Lists/a%20b.mp3", "Lists/caf\xE9.mp3", "Lists/\xC1.mp3"})
            FileRemove(path);
        FilesSave({"Lists/a b.mp3"});
    });
    EXPECT_EQ(FoundBy().substr(0, 13), "Lists/a b.mp3");
    EXPECT_EQ(FoundBy(kMusic + "/Lists/2"), "Lists/caf\u00E9.mp3");
    EXPECT_EQ(FoundBy(kMusic + "/Lists/3"), "");
}

TEST_P(PlaylistResolve, AnyNumberOfEntries) {
    std::vector<std::string> targets;
    std::vector<std::string> files;
    std::string expected;
    for (int i = 0; i < 450; ++i) {
        targets.push_back(i % 3 == 0 ? "../A/same.mp3" : "../A/" + std::to_string(i) + ".mp3");
        if (i % 2 == 0)
            files.push_back("A/" + std::to_string(i) + ".mp3");
        expected += i > 0 ? "|" : "";
        expected += i % 3 == 0 ? "A/same.mp3" : i % 2 == 0 ? files.back() : "";
    }
    files.push_back("A/same.mp3");
    Run([&] {
        FilesSave(files);
        ListSave(targets);
    });
    EXPECT_EQ(FoundBy(), expected);
    Run([] { FileRemove("A/same.mp3"); });
    EXPECT_EQ(FoundBy().find("same"), std::string::npos);
    EXPECT_EQ(Unresolved(), "0");
}

TEST_P(PlaylistResolve, OfVeryManyFilesOfANameThePathItselfIsFound) {
    Run([] { FilesSave({"A/track.mp3", "B/Track.mp3", "A/one.mp3"}); });
    const std::string numbers =
        "with recursive n (i) as (select 0 union all select i + 1 from n where i + 3 < " +
        std::to_string(kPlaylistFilesMax) + ") ";
    ASSERT_GT(Peer().Exec("insert into file_state (path, stamp, added, trouble, folded_name) " + numbers +
                          "select '/d/' || i || "
                          "'/track.mp3', '', '', '', 'track.mp3' from n"),
              0);
    ASSERT_EQ(Peer().Query("select count(*) as x from file_state where folded_name = 'track.mp3'"),
              std::to_string(kPlaylistFilesMax));
    Run([] { ListSave({"../A/track.mp3", "../B/track.mp3", "../A/ONE.mp3"}); });
    EXPECT_EQ(FoundBy(), "A/track.mp3|B/Track.mp3|A/one.mp3");
    Run([] { FilesSave({"C/track.mp3"}); });
    EXPECT_EQ(FoundBy(), "A/track.mp3||A/one.mp3");
}

TEST_P(PlaylistResolve, ANewerFoldingLooksAtThemAgain) {
    Run([] {
        FilesSave({"Lists/b.mp3"});
        ListSave({"b.mp3", "http://x/"});
    });
    {
        Peer peer;
        EXPECT_EQ(
            peer.Exec(
                "update file_entry set found = '', folded_name = 'other' where folded_name is not null"),
            1);
        EXPECT_EQ(peer.Exec("update file_state set folded_name = 'other'"), 2);
        EXPECT_EQ(peer.Exec("update file_entry set unresolved = null"), 2);
        EXPECT_EQ(peer.Exec("update file_folding set version = 1"), 1);
    }
    Run([] {});
    EXPECT_EQ(FoundBy(), "Lists/b.mp3|");
    EXPECT_EQ(Peer().Query("select folded_name as x from file_entry order by position"), "b.mp3|-");
}

TEST_P(PlaylistResolve, WhatCannotBeStoredIsFoundByTheNextRun) {
    Run([] { ListSave({"b.mp3"}); });
    const bool sqlite = OnSqlite();
    EXPECT_GE(Peer().Exec(sqlite ? "create trigger refuse before update of found on file_entry begin select "
                                   "raise(abort, 'no'); end"
                                 : "alter table file_entry add constraint refuse check (found = '')"),
              0);
    {
        LogCatcher log;
        Complete([] {
            FilesSave({"Lists/b.mp3"});
            EXPECT_EQ(FileNamesFold(), 0);
            EXPECT_EQ(PlaylistsResolve(), -1);
        });
        EXPECT_FALSE(log.Quiet());
    }
    EXPECT_EQ(FoundBy(), "");
    EXPECT_EQ(Unresolved(), "1");
    EXPECT_EQ(Paths("music"), kMusic + "/Lists/b.mp3") << "the row is there all the same";
    EXPECT_GE(Peer().Exec(sqlite ? "drop trigger refuse" : "alter table file_entry drop constraint refuse"),
              0);
    Run([] {});
    EXPECT_EQ(FoundBy(), "Lists/b.mp3");
}

TEST_P(PlaylistResolve, ARunThatHasAskedForNothingLooksAtNothing) {
    Complete([] { EXPECT_EQ(PlaylistsResolve(), 0); });
    EXPECT_FALSE(HasTables());
    Appliance([] {
        EXPECT_EQ(Save(kMediaMusic, "/a"), 0);
        EXPECT_EQ(PlaylistsResolve(), 0);
    });
    EXPECT_FALSE(HasTables());
}

} // namespace
