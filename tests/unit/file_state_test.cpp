// SPDX-License-Identifier: GPL-2.0-or-later
//
// States of files: in step with the rows whoever writes, and how they are read.
#include <algorithm>

#include "file_store_fixture.h"

namespace {

class FileState_ : public FileStore {};
ON_ALL_ENGINES(FileState_);

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
        EXPECT_EQ(SaveFile(kStoredSong, Found("1")), 0);
        EXPECT_EQ(SaveFile(kStoredSong, Found("2"), kMediaVideo), 0);
        EXPECT_EQ(MediaInfoDBDelete(kMediaMusic, kStoredSong.c_str()), 0);
    });
    EXPECT_EQ(Field("stamp"), "2");
    EXPECT_EQ(Facts(), "artist/0=ABBA<abba|artist/1=b<b");
    Complete([] { EXPECT_EQ(MediaInfoDBDelete(kMediaVideo, kStoredSong.c_str()), 0); });
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

// The states of a folder's files by their names, "stamp" or "stamp!trouble", in the order in which they come.
std::vector<std::pair<std::string, std::string>> StatesOf(const char *folder, int expected = 0) {
    std::vector<std::pair<std::string, std::string>> states;
    EXPECT_EQ(FileStatesRead(folder,
                             [&](std::string_view name, std::string_view stamp, std::string_view trouble) {
                                 states.emplace_back(name, std::string(stamp) + (trouble.empty() ? "" : "!") +
                                                               std::string(trouble));
                             }),
              expected)
        << folder;
    return states;
}

TEST_P(FileState_, AFoldersStatesAreThoseOfItsFiles) {
    const std::string names[] = {"a", "a.b", "a0", "b", "\xff", "\xc3\xa9", "%", "z"};
    std::vector<std::pair<std::string, std::string>> expected;
    Complete([&] {
        for (const std::string &name : names) {
            EXPECT_EQ(SaveFile("/m/d/" + name, Found("s" + name)), 0);
            EXPECT_EQ(SaveFile("/m/d/" + name + ".d/" + name, Found("below")), 0);
            expected.emplace_back(name, "s" + name);
        }
        for (int i = 0; i < 300; ++i) {
            EXPECT_EQ(SaveFile("/m/d/many/" + std::to_string(i), Found("below")), 0);
            EXPECT_EQ(SaveFile("/m/d/n" + std::to_string(i), Found(std::to_string(i))), 0);
            expected.emplace_back("n" + std::to_string(i), std::to_string(i));
        }
        EXPECT_EQ(SaveFile("/m/d/in trouble", {.stamp = "1", .trouble = "slow", .folded_name = ""}), 0);
        expected.emplace_back("in trouble", "1!slow");
        EXPECT_EQ(SaveFile("/m/d0", Found("beside")), 0);
        EXPECT_EQ(SaveFile("/m/d", {.stamp = "", .trouble = "of the folder", .folded_name = ""}), 0);
        std::sort(expected.begin(), expected.end());
        for (const char *folder : {"/m/d", "/m/d//"})
            EXPECT_EQ(StatesOf(folder), expected);
        FileState state;
        EXPECT_EQ(FileStateOf("/m/d", &state), 1);
        EXPECT_EQ(state.trouble, "of the folder");
        EXPECT_EQ(FileStateOf("/m", &state), 0);
        EXPECT_TRUE(StatesOf("/nowhere").empty());
    });
}

TEST_P(FileState_, ALargeFolderIsReadInPortions) {
    constexpr int kFiles = 5000;
    Complete([] { EXPECT_EQ(Save(kMediaMusic, "/a"), 0); });
    ASSERT_EQ(Peer().Exec("insert into file_state (path, stamp, added, trouble) with recursive n (i) as "
                          "(select 0 union all "
                          "select i + 1 from n where i + 1 < " +
                          std::to_string(kFiles) +
                          ") select case when i % 1000 = 500 then '/d/' || (100000 + i) || '/below' else "
                          "'/d/' || (100000 + i) "
                          "end, cast(i as text), '', '' from n"),
              kFiles);
    Complete([&] {
        const auto states = StatesOf("/d");
        ASSERT_EQ(states.size(), kFiles - 5u);
        for (const auto &[name, stamp] : states)
            EXPECT_EQ(name, std::to_string(100000 + atoi(stamp.c_str())));
        EXPECT_TRUE(std::is_sorted(states.begin(), states.end()));
        size_t count = 0;
        std::string behind;
        for (size_t before = 1; before != count;) {
            before = count;
            EXPECT_EQ(FileStatesNext("", behind,
                                     [&](std::string_view path, std::string_view, std::string_view) {
                                         EXPECT_GT(path, behind);
                                         behind = path;
                                         ++count;
                                     }),
                      0);
        }
        EXPECT_EQ(count, kFiles + 1u);
    });
}

TEST_P(FileState_, OfACatalogueWithoutStatesThereAreNone) {
    Appliance([] {
        EXPECT_EQ(Save(kMediaMusic, "/d/a"), 0);
        EXPECT_TRUE(StatesOf("/d", 1).empty());
        EXPECT_EQ(FileStatesNext("", "", [](auto, auto, auto) { ADD_FAILURE(); }), 0);
    });
}

TEST_P(FileState_, FactsOfANameAreReplacedWithTheStamp) {
    const FileFact facts[] = {{"subtitle", 0, "/a.srt", "/a.srt"}, {"subtitle", 1, "/b.srt", "/b.srt"}};
    const std::string_view names[] = {"subtitle", "none"};
    Complete([&] {
        EXPECT_EQ(SaveFile(kStoredSong, Found("1")), 0);
        EXPECT_EQ(FileChangesSave(kStoredSong.c_str(), {.stamp = "2", .names = names, .facts = facts}), 0);
    });
    EXPECT_EQ(Facts(), "artist/0=ABBA<abba|artist/1=b<b|subtitle/0=/a.srt</a.srt|subtitle/1=/b.srt</b.srt");
    Complete([&] {
        EXPECT_EQ(FileChangesSave(kStoredSong.c_str(),
                                  {.stamp = "3", .names = names, .facts = std::span(facts).last(1)}),
                  0);
    });
    EXPECT_EQ(Facts(), "artist/0=ABBA<abba|artist/1=b<b|subtitle/1=/b.srt</b.srt");
    EXPECT_EQ(Field("stamp"), "3");
    std::vector<std::string> values = {"before"};
    Complete([&] {
        EXPECT_EQ(FileChangesSave("/none", {.stamp = "3", .names = names, .facts = facts}), 0);
        EXPECT_EQ(FileFactsOf("/none", "artist", &values), 0);
        EXPECT_TRUE(values.empty());
        EXPECT_EQ(FileFactsOf(kStoredSong.c_str(), "artist", &values), 0);
    });
    EXPECT_EQ(values, (std::vector<std::string>{"ABBA", "b"}));
    EXPECT_EQ(Peer().Count("file_state"), 1);
}

} // namespace
