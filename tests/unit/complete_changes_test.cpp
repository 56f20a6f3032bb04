// SPDX-License-Identifier: GPL-2.0-or-later
//
// What changes between two walks under the rules `complete`: names, rules of what is left out, what lies beside files, and the
// readers themselves.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "catalogue/bounds.h"
#include "catalogue/file_stamp.h"
#include "catalogue/known_files.h"
#include "catalogue/listed_name.h"
#include "daemon/queue_commands.h"
#include "daemon/queue_line.h"
#include "daemon/queue_older.h"
#include "daemon/queue_rename.h"
#include "platform/clock.h"
#include "platform/index/run_state.h"
#include "platform/limits.h"
#include "reader/protocol/message.h"
#include "tests/unit/complete_fixture.h"
#include "tests/unit/failing_readdir.h"

namespace fs = std::filesystem;

namespace {

using Texts = std::vector<std::string>;

class CompleteChanges : public CompleteFixture {};

const std::string kRevision = "r" + std::to_string(kReaderRevision);

constexpr FileFact kFacts[] = {{"artist", 0, "One", "one"}, {"artist", 1, "Two", "two"}};

std::string StampNow(const std::string &path) {
    struct stat status;
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return FileStampOf(status);
}

// Saves a row of a file as it would be if the file had been read, long at rest, and had said something else than it does. `more`
// comes behind the file's own stamp.
void KnownSave(const std::string &path, const std::string &title, const std::string &album = "tagged",
               const std::string &more = "", int kind = kMediaMusic) {
    MediaInfo record = {};
    snprintf(record.path, sizeof record.path, "%s", path.c_str());
    snprintf(record.title, sizeof record.title, "%s", title.c_str());
    snprintf(record.album, sizeof record.album, "%s", album.c_str());
    const std::string stamp = StampNow(path) + more;
    char folder[4096];
    record.has_cover = GetCoverFolder(path.c_str(), folder, sizeof folder) != 0 && fs::exists(folder) ? 1 : 0;
    InRun([&] { EXPECT_EQ(MediaInfoDBSaveFile(kind, &record, {.stamp = stamp, .facts = kFacts}), 0); });
}

// In one run.
void Do(const Texts &lines) {
    InRun([&] {
        for (const std::string &line : lines) {
            QueueRequest request;
            ASSERT_TRUE(QueueLineParse(line, request)) << line;
            QueueRequestExecute(request);
        }
        RenamesSettle();
    });
}

void Do(const std::string &line) {
    Do(Texts{line});
}

// Has the one stamp of this revision of the readers be of an older one.
void StampAge() {
    const DatabaseHandle db(VELUDBOpen("sqlite:/var/lib/velu/mediaserver.db"));
    const std::string sql = "update file_state set stamp = replace(stamp, ' " + kRevision +
                            "', ' r0') where stamp like '% " + kRevision + "'";
    EXPECT_EQ(VELUDBExecute(db.get(), sql.c_str(), nullptr), 1);
}

KnownFile Known(KnownFiles *known, const std::string &path, const std::string &stamp) {
    return FileKnown(known, path, {&stamp, 1}, true);
}

std::string StateField(const std::string &path, const std::string &field) {
    return MediaRow("file_state", path)[field];
}

std::string CoverOf(const std::string &path) {
    char folder[4096];
    return GetCoverFolder(path.c_str(), folder, sizeof folder) != 0 ? folder : "";
}

} // namespace

TEST(FileStamp, HasItsWords) {
    struct stat status = {};
    status.st_size = 12;
    status.st_mtim = {1000, 5};
    status.st_ctim = {-1, 999'999'999};
    status.st_ino = 77;
    const std::string stamp = FileStampOf(status);
    EXPECT_EQ(stamp, "12 1000.000000005 -1.999999999 77 " + kRevision);
    EXPECT_EQ(FileStampWithoutNumber(stamp), "12 1000.000000005 -1.999999999 - " + kRevision);
    EXPECT_TRUE(FileStampCountsNumber(stamp));
    EXPECT_FALSE(FileStampCountsNumber(FileStampWithoutNumber(stamp)));
    const std::string whole = stamp + FileStampNamed({true, true}) + " +3 4.000000000  s00aa";
    EXPECT_EQ(whole, "12 1000.000000005 -1.999999999 77 " + kRevision + "TA +3 4.000000000  s00aa");
    EXPECT_EQ(FileStampLook(whole), "12 1000.000000005 -1.999999999 77  +3 4.000000000  s00aa");
    EXPECT_TRUE(FromNameOf(whole).title && FromNameOf(whole).album);
    EXPECT_FALSE(FromNameOf(stamp).title || FromNameOf(stamp).album);
    EXPECT_TRUE(FromNameOf(stamp + "A").album && !FromNameOf(stamp + "A").title);
}

TEST(FileStamp, HoldsAsFarAsItsWordsAreTheSame) {
    const std::string then = "12 1000.000000005 2000.000000000 77 " + kRevision;
    const struct {
        std::string now;
        StampHolds holds;
        bool moved;
    } looks[] = {
        {"12 1000.000000005 2000.000000000 77 " + kRevision, StampHolds::yes, true},
        {"12 1000.000000005 2000.000000000 77 " + kRevision + " s00", StampHolds::own, true},
        {"12 1000.000000005 2000.000000000 78 " + kRevision, StampHolds::numbers, false},
        {"12 1000.000000005 2000.000000001 77 " + kRevision, StampHolds::no, true},
        {"12 1000.000000006 2000.000000000 77 " + kRevision, StampHolds::no, false},
        {"13 1000.000000005 2000.000000000 77 " + kRevision, StampHolds::no, false},
    };
    for (const auto &look : looks) {
        EXPECT_EQ(FileStampHolds(then, look.now), look.holds) << look.now;
        EXPECT_EQ(FileStampHoldsMoved(then, look.now), look.moved) << look.now;
    }
    const std::string without = FileStampWithoutNumber(then);
    EXPECT_EQ(FileStampHolds(without, then), StampHolds::yes);
    EXPECT_TRUE(FileStampHoldsMoved(without, then));
    for (const char *other :
         {"", "1", "another stamp", "12 1000.000000005 2000.000000000 77",
          "12 1000.000000005 2000.000000000 77 r99", "12 1000.000000005 2000.000000000 77 rx"}) {
        EXPECT_EQ(FileStampHolds(other, then), StampHolds::no) << other;
        EXPECT_FALSE(FileStampHoldsMoved(other, then)) << other;
        EXPECT_EQ(FileStampLook(other), "") << other;
        EXPECT_FALSE(FileStampIsOlder(other)) << other;
    }
    const std::string older = "12 1000.000000005 2000.000000000 77 r0TA";
    EXPECT_EQ(FileStampHolds(older, then), StampHolds::yes) << "it is read when its turn comes";
    EXPECT_TRUE(FileStampIsOlder(older));
    EXPECT_FALSE(FileStampIsOlder(then));
}

TEST(FileStamp, ANumberThatChangesBetweenTwoLooksDoesNotCount) {
    FileWrite(kSong, "x");
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    ++status.st_ino;
    const time_t later = status.st_ctim.tv_sec + 100;
    bool changed = true;
    EXPECT_EQ(FileStampOfRead(kSong, status, later, &changed), FileStampWithoutNumber(StampNow(kSong)));
    EXPECT_FALSE(changed);
    ++status.st_size;
    EXPECT_EQ(FileStampOfRead(kSong, status, later, &changed), "");
    EXPECT_TRUE(changed);
}

TEST_F(CompleteChanges, ARowWithoutANumberInItsStampHolds) {
    FileWrite(kSong, "title another");
    RowSave("as it was", FileStampWithoutNumber(StampNow(kSong)));
    Walk();
    EXPECT_EQ(Title("music", kSong), "as it was");
    struct stat status;
    ASSERT_EQ(stat(kSong, &status), 0);
    ++status.st_ino;
    RowSave("as it was", FileStampOf(status));
    Walk();
    EXPECT_EQ(Title("music", kSong), "another") << "another file may have taken its place";
}

TEST_F(CompleteChanges, AFilmIsNotOpenedForItsSubtitles) {
    const std::string film = "/volume1/music/film.mkv";
    FileWrite(film, "film F");
    FileWrite("/volume1/music/film.en.srt", "subtitles");
    KnownSave(film, "as it was", "tagged", "A", kMediaVideo);
    Walk();
    EXPECT_EQ(Title("video", film), "as it was");
    EXPECT_TRUE(HasNoChild());
    EXPECT_EQ(FactsOf(film), (Texts{"artist=One", "artist=Two", "subtitle=/volume1/music/film.en.srt",
                                    "subtitle_file_language=eng"}));
    EXPECT_EQ(StateField(film, "stamp"),
              StampNow(film) + "A" + FileStampBeside({"/volume1/music/film.en.srt"}));
    fs::remove("/volume1/music/film.en.srt");
    Do("d:/volume1/music/film.en.srt");
    EXPECT_EQ(Title("video", film), "as it was");
    EXPECT_EQ(StateField(film, "stamp"), StampNow(film) + "A");
    EXPECT_EQ(FactsOf(film), (Texts{"artist=One", "artist=Two"}));
}

TEST_F(CompleteChanges, ARenamedFileTakesItsRowAlong) {
    const std::string moved = "/volume1/music/B/other.mp3";
    FileWrite(kSong, "picture 3000 another");
    Walk();
    ASSERT_TRUE(fs::exists(CoverOf(kSong)));
    KnownSave(kSong, "as it was");
    const std::string id = StateField(kSong, "id");
    const std::string added = StateField(kSong, "added");
    fs::create_directories("/volume1/music/B");
    fs::rename(kSong, moved);
    Do("N:" + moved + ":" + kSong);
    EXPECT_EQ(MediaPaths("music"), Texts{moved});
    EXPECT_EQ(Title("music", moved), "as it was");
    EXPECT_EQ(MediaRow("music", moved)["album"], "tagged");
    EXPECT_EQ(StateField(moved, "id") + StateField(moved, "added"), id + added);
    EXPECT_EQ(StateField(moved, "stamp"), StampNow(moved));
    EXPECT_EQ(FactsOf(moved), (Texts{"artist=One", "artist=Two"}));
    EXPECT_FALSE(fs::exists(CoverOf(kSong)));
    EXPECT_TRUE(fs::exists(CoverOf(moved) + "/3_1.jpg"));
    EXPECT_TRUE(HasNoChild());
    Walk();
    EXPECT_EQ(Title("music", moved), "as it was");
}

TEST_F(CompleteChanges, WhatCameFromANameFollowsIt) {
    const std::string moved = "/volume1/music/B/other.mp3";
    FileWrite(kSong, "title another");
    fs::create_directories("/volume1/music/B");
    const struct {
        const char *title, *album, *named, *new_title, *new_album;
    } rows[] = {
        {"song", "A", "TA", "other", "B"},          {"song", "A", "", "song", "A"},
        {"song", "A", "T", "other", "A"},           {"song", "A", "A", "song", "B"},
        {"typed", "typed", "TA", "typed", "typed"},
    };
    for (const auto &row : rows) {
        KnownSave(kSong, row.title, row.album, row.named);
        fs::rename(kSong, moved);
        Do("N:" + moved + ":" + kSong);
        EXPECT_EQ(Title("music", moved) + "/" + MediaRow("music", moved)["album"],
                  std::string(row.new_title) + "/" + row.new_album);
        EXPECT_EQ(StateField(moved, "stamp"), StampNow(moved) + row.named);
        fs::rename(moved, kSong);
        Do(std::string("N:") + kSong + ":" + moved);
    }
}

TEST_F(CompleteChanges, ARenamedFileThatIsAnotherByNowIsRead) {
    FileWrite(kSong, "title another");
    KnownSave(kSong, "as it was");
    const std::string added = StateField(kSong, "added");
    fs::remove(kSong);
    FileWrite("/volume1/music/A/new.mp3", "title new one");
    Do(std::string("N:/volume1/music/A/new.mp3:") + kSong);
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/A/new.mp3"});
    EXPECT_EQ(Title("music", "/volume1/music/A/new.mp3"), "new one");
    EXPECT_EQ(StateField("/volume1/music/A/new.mp3", "added"), added);
    FileWrite(kSong, "title as read");
    KnownSave(kSong, "as it was");
    fs::rename(kSong, "/volume1/music/A/song.flac");
    Do(std::string("N:/volume1/music/A/song.flac:") + kSong);
    EXPECT_EQ(Title("music", "/volume1/music/A/song.flac"), "as read") << "the extension counts";
}

TEST_F(CompleteChanges, ARenamedTreeTakesItsRowsAlong) {
    const std::string old_tree = "/volume1/music/Old";
    const std::string new_tree = "/volume1/music/New";
    for (const char *name : {"/1.mp3", "/2.mp3", "/3.mp3", "/Deep/Old/4.mp3"})
        FileWrite(old_tree + name, "picture 3000 read");
    FileWrite(old_tree + "/gone.mp3", "title read");
    FileWrite("/volume1/music/Older/5.mp3", "title read");
    Walk();
    KnownSave(old_tree + "/1.mp3", "kept", "Old", "A");
    KnownSave(old_tree + "/2.mp3", "kept", "Old", "");
    KnownSave(old_tree + "/Deep/Old/4.mp3", "kept", "Old", "A");
    KnownSave("/volume1/music/Older/5.mp3", "kept", "Older", "A");
    const std::string id = StateField(old_tree + "/1.mp3", "id");
    const std::string added = StateField(old_tree + "/3.mp3", "added");
    fs::rename(old_tree, new_tree);
    fs::remove(new_tree + "/gone.mp3");
    FileWrite(new_tree + "/6.mp3", "title came");
    FileWrite(new_tree + "/3.mp3", "picture 3000 changed");
    Do("N:" + new_tree + "/:" + old_tree);
    EXPECT_EQ(MediaPaths("music"),
              (Texts{new_tree + "/1.mp3", new_tree + "/2.mp3", new_tree + "/3.mp3", new_tree + "/6.mp3",
                     new_tree + "/Deep/Old/4.mp3", "/volume1/music/Older/5.mp3"}));
    EXPECT_EQ(MediaPaths("directory"), (Texts{"/volume1/music", new_tree, new_tree + "/Deep",
                                              new_tree + "/Deep/Old", "/volume1/music/Older"}));
    EXPECT_EQ(Title("music", new_tree + "/1.mp3"), "kept");
    EXPECT_EQ(MediaRow("music", new_tree + "/1.mp3")["album"], "New");
    EXPECT_EQ(MediaRow("music", new_tree + "/2.mp3")["album"], "Old") << "that is what its tags say";
    EXPECT_EQ(MediaRow("music", new_tree + "/Deep/Old/4.mp3")["album"], "Old");
    EXPECT_EQ(Title("music", new_tree + "/3.mp3"), "changed");
    EXPECT_EQ(StateField(new_tree + "/1.mp3", "id"), id);
    EXPECT_EQ(StateField(new_tree + "/3.mp3", "added"), added);
    for (const char *name : {"/1.mp3", "/3.mp3", "/Deep/Old/4.mp3"}) {
        EXPECT_FALSE(fs::exists(CoverOf(old_tree + name))) << name;
        EXPECT_EQ(fs::exists(CoverOf(new_tree + name)),
                  MediaRow("music", new_tree + name)["has_cover"] == "1")
            << name;
    }
    // Once more, as after a crash, when it has been done already.
    Do("N:" + new_tree + ":" + old_tree);
    EXPECT_EQ(Title("music", new_tree + "/1.mp3"), "kept");
    EXPECT_EQ(MediaPaths("music").size(), 6u);
}

TEST_F(CompleteChanges, ATreeThatMovesIntoOneThatIsKnownTakesItsPlace) {
    FileWrite("/volume1/music/Old/1.mp3", "title read");
    FileWrite("/volume1/music/New/1.mp3", "title other");
    FileWrite("/volume1/music/New/2.avi", "film F");
    Walk();
    fs::remove("/volume1/music/New/1.mp3");
    KnownSave("/volume1/music/Old/1.mp3", "kept");
    fs::rename("/volume1/music/Old/1.mp3", "/volume1/music/New/1.mp3");
    fs::remove("/volume1/music/Old");
    Do("N:/volume1/music/New:/volume1/music/Old");
    EXPECT_EQ(MediaPaths("music"), Texts{"/volume1/music/New/1.mp3"});
    EXPECT_EQ(MediaPaths("video"), Texts{"/volume1/music/New/2.avi"});
    EXPECT_EQ(Title("video", "/volume1/music/New/2.avi"), "F");
}

TEST_F(CompleteChanges, OfATreeThatIsThereAgainWhatHasMovedTakesItsRowsAlong) {
    const std::string old_tree = "/volume1/music/Old";
    const std::string new_tree = "/volume1/music/New";
    const Texts names = {"/1.mp3", "/Deep/2.mp3", "/Deep/er/3.mp3", "/Deep/er/4.mp3", "/Kept/5.mp3"};
    for (const std::string &name : names)
        FileWrite(old_tree + name, "picture 3000 read");
    Walk();
    std::vector<std::string> ids;
    for (const std::string &name : names)
        ids.push_back(StateField(old_tree + name, "id"));
    fs::rename(old_tree, new_tree);
    FileWrite(old_tree + "/Kept/6.mp3", "title came");
    Do("N:" + new_tree + ":" + old_tree);
    for (size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(StateField(new_tree + names[i], "id"), ids[i]) << names[i];
        EXPECT_TRUE(fs::exists(CoverOf(new_tree + names[i]))) << names[i];
    }
    EXPECT_EQ(MediaPaths("music").size(), names.size());
    EXPECT_EQ(MediaPaths("directory"),
              (Texts{"/volume1/music", new_tree, new_tree + "/Deep", new_tree + "/Deep/er",
                     new_tree + "/Kept", old_tree, old_tree + "/Kept"}));
}

// At the next rename a file is gone from where the one before has brought it.
TEST_F(CompleteChanges, WhatCameFromANameFollowsTheLastOfManyRenames) {
    const Texts places = {kSong, "/volume1/music/A/first.mp3", "/volume1/music/B/second.mp3",
                          "/volume1/music/B/third.mp3", "/volume1/music/C/last.mp3"};
    FileWrite(kSong, "title another");
    KnownSave(kSong, "song", "A", "TA");
    fs::create_directories("/volume1/music/C");
    fs::rename(kSong, places.back());
    Texts lines;
    for (size_t i = 1; i < places.size(); ++i)
        lines.push_back("N:" + places[i] + ":" + places[i - 1]);
    Do(lines);
    EXPECT_EQ(MediaPaths("music"), Texts{places.back()});
    EXPECT_EQ(Title("music", places.back()), "last");
    EXPECT_EQ(MediaRow("music", places.back())["album"], "C");
    EXPECT_EQ(StateField(places.back(), "stamp"), StampNow(places.back()) + "TA");
}

// The disk is further on than the requests.
TEST_F(CompleteChanges, RenamesInARowAreFollowed) {
    const std::string last = "/volume1/music/C/last.mp3";
    FileWrite(kSong, "title another");
    KnownSave(kSong, "as it was");
    const std::string id = StateField(kSong, "id");
    fs::create_directories("/volume1/music/C");
    fs::rename(kSong, last);
    fs::remove("/volume1/music/A");
    const Texts lines = {"N:/volume1/music/B:/volume1/music/A",
                         "N:/volume1/music/B/next.mp3:/volume1/music/B/song.mp3",
                         "N:" + last + ":/volume1/music/B/next.mp3"};
    Do(lines);
    EXPECT_EQ(MediaPaths("music"), Texts{last});
    EXPECT_EQ(Title("music", last), "as it was");
    EXPECT_EQ(StateField(last, "id"), id);
    Do(lines);
    EXPECT_EQ(StateField(last, "id"), id);
    // By then another thing is where it began.
    FileWrite("/volume1/music/C/deep/more.mp3", "title more");
    KnownSave("/volume1/music/C/deep/more.mp3", "as it was");
    fs::rename("/volume1/music/C", "/volume1/music/E");
    FileWrite("/volume1/music/C/came.mp3", "title came");
    Do({"N:/volume1/music/D:/volume1/music/C", "a:/volume1/music/C/came.mp3",
        "N:/volume1/music/E:/volume1/music/D"});
    EXPECT_EQ(MediaPaths("music"), (Texts{"/volume1/music/C/came.mp3", "/volume1/music/E/deep/more.mp3",
                                          "/volume1/music/E/last.mp3"}));
    EXPECT_EQ(StateField("/volume1/music/E/last.mp3", "id"), id);
    EXPECT_EQ(Title("music", "/volume1/music/E/deep/more.mp3"), "as it was");
    EXPECT_EQ(MediaPaths("directory"), (Texts{"/volume1/music/E", "/volume1/music/E/deep"}));
    Do("N:/volume1/music/none:/volume1/music/E");
    EXPECT_EQ(StateField("/volume1/music/E/last.mp3", "id"), id) << "it has not moved";
    fs::remove_all("/volume1/music/C");
    Do("D:/volume1/music/C");
    fs::rename("/volume1/music/E", "/volume1/music/C");
    Do("N:/volume1/music/C:/volume1/music/E");
    // And where it ends nowhere.
    fs::remove_all("/volume1/music/C");
    Do("N:/volume1/music/D:/volume1/music/C");
    EXPECT_EQ(MediaPaths("music"), Texts{});
}

TEST_F(CompleteChanges, RulesOfWhatIsLeftOutAreFollowedByAnyAdd) {
    for (const char *name : {"A/1.mp3", "A/2.mp3", "B/Deep/3.mp3", "C/raw/4.mp3", "C/5.tmp.mp3", "C/6.mp3"})
        FileWrite(std::string(kMusic) + '/' + name, "title x");
    Walk();
    EXPECT_EQ(MediaPaths("music").size(), 6u);
    FileWrite("/volume1/music/B/.nomedia", "");
    FileWrite("/volume1/music/C/.veluignore", "raw/\n*.tmp.mp3\n");
    Walk();
    EXPECT_EQ(MediaPaths("music"),
              (Texts{"/volume1/music/A/1.mp3", "/volume1/music/A/2.mp3", "/volume1/music/C/6.mp3"}));
    fs::remove("/volume1/music/B/.nomedia");
    fs::remove("/volume1/music/C/.veluignore");
    Walk();
    EXPECT_EQ(MediaPaths("music").size(), 6u);
    FileWrite("/volume1/music/A/.nomedia", "");
    FileWrite("/volume1/music/C/.veluignore", "*.tmp.mp3\n");
    Do("A:/volume1/music/A");
    Do("a:/volume1/music/C/5.tmp.mp3");
    EXPECT_EQ(MediaPaths("music"),
              (Texts{"/volume1/music/B/Deep/3.mp3", "/volume1/music/C/6.mp3", "/volume1/music/C/raw/4.mp3"}));
}

TEST_F(CompleteChanges, WhatAnOlderRevisionHasReadIsReadWhenNothingWaits) {
    FileWrite(kSong, "title another");
    FileWrite("/volume1/music/other.mp3", "title other");
    const auto older = [](const std::string &path) {
        KnownSave(path, "as it was");
        StampAge();
    };
    older(kSong);
    older("/volume1/music/other.mp3");
    Walk();
    EXPECT_EQ(Title("music", kSong), "as it was");
    OlderFilesBegin();
    EXPECT_EQ(OlderFilesRead([] { return true; }), 0u) << "requests wait";
    EXPECT_EQ(Title("music", kSong), "as it was");
    EXPECT_EQ(OlderFilesRead([] { return false; }), 2u);
    EXPECT_EQ(Title("music", kSong), "another");
    EXPECT_EQ(Title("music", "/volume1/music/other.mp3"), "other");
    EXPECT_EQ(OlderFilesRead([] { return false; }), 0u);
    EXPECT_TRUE(HasNoChild());
    RulesSet("appliance");
    older(kSong);
    OlderFilesBegin();
    EXPECT_EQ(OlderFilesRead([] { return false; }), 0u);
}

TEST_F(CompleteChanges, NoCatalogueIsMadeToLookForWhatAnOlderRevisionHasRead) {
    const std::string catalogue = "/var/lib/velu/mediaserver.db";
    fs::remove(catalogue);
    static int64_t now;
    now = 0;
    run_clock = [] { return now; };
    OlderFilesBegin();
    LogTake();
    EXPECT_EQ(OlderFilesRead([] { return false; }), 0u);
    EXPECT_FALSE(fs::exists(catalogue));
    EXPECT_TRUE(LogTake().empty());
    FileWrite(kSong, "title another");
    KnownSave(kSong, "as it was");
    StampAge();
    EXPECT_EQ(OlderFilesRead([] { return false; }), 0u) << "it is looked for now and then";
    now += kQueueRetryLast;
    EXPECT_EQ(OlderFilesRead([] { return false; }), 1u);
    EXPECT_EQ(Title("music", kSong), "another");
    run_clock = MonotonicMilliseconds;
}

TEST_F(CompleteChanges, WhatAnOlderRevisionHasReadIsReadForSomeTimeAtOnce) {
    FileWrite(kSong, "title another");
    KnownSave(kSong, "as it was");
    static int64_t now;
    static int64_t step;
    now = 0;
    step = kOlderFilesMilliseconds + 1;
    run_clock = [] { return now += step; };
    OlderFilesBegin();
    EXPECT_EQ(OlderFilesRead([] { return false; }), 0u) << "the time is over";
    step = 0;
    StampAge();
    EXPECT_EQ(OlderFilesRead([] { return false; }), 1u);
    EXPECT_EQ(Title("music", kSong), "another");
    run_clock = MonotonicMilliseconds;
}

TEST_F(CompleteChanges, OfALargeFolderTheLastAreLookedUpOneByOne) {
    FileWrite(kSong, "title x");
    KnownSave(kSong, "as it was");
    const std::string stamp = StampNow(kSong);
    const auto insert = [&](size_t first, size_t end) {
        const DatabaseHandle db(VELUDBOpen("sqlite:/var/lib/velu/mediaserver.db"));
        const std::string sql =
            "insert into file_state (path, stamp, added, trouble) with recursive n (i) as (select " +
            std::to_string(first) + " union all select i + 1 from n where i + 1 < " + std::to_string(end) +
            ") select '/d/' || (100000 + i), '" + stamp + "', '', '' from n";
        EXPECT_EQ(VELUDBExecute(db.get(), sql.c_str(), nullptr), static_cast<int>(end - first));
    };
    insert(0, kFileStatesMax);
    const std::string last = std::to_string(100000 + kFileStatesMax - 1);
    InRun([&] {
        KnownFiles known;
        EXPECT_TRUE(Known(&known, "/d/" + last, stamp).unchanged);
        EXPECT_TRUE(known.directories.front().whole);
        EXPECT_FALSE(Known(&known, "/d/" + last + "1", stamp).may_have_row);
    });
    insert(kFileStatesMax, kFileStatesMax + 2);
    const std::string next = std::to_string(100000 + kFileStatesMax + 1);
    InRun([&] {
        KnownFiles known;
        EXPECT_TRUE(Known(&known, "/d/" + last, stamp).unchanged);
        EXPECT_FALSE(known.directories.front().whole);
        EXPECT_EQ(known.directories.front().names.size(), kFileStatesMax);
        EXPECT_TRUE(Known(&known, "/d/" + next, stamp).unchanged);
        EXPECT_FALSE(Known(&known, "/d/" + next, stamp + " s0").unchanged);
        EXPECT_FALSE(Known(&known, "/d/" + next + "1", stamp).unchanged);
    });
}

TEST_F(CompleteChanges, AFileIsThereUnderTheNameThatIsListed) {
    const std::string other = "/volume1/music/A/SONG.MP3";
    FileWrite(kSong, "title x");
    EXPECT_TRUE(IsListedName(kSong));
    EXPECT_TRUE(IsListedName(other.c_str())) << "nothing is there";
    fs::create_hard_link(kSong, other);
    EXPECT_TRUE(IsListedName(other.c_str())) << "both are";
    // As storage without case looks to whoever asks.
    ReaddirHide("SONG.MP3");
    EXPECT_TRUE(IsListedName(kSong));
    EXPECT_FALSE(IsListedName(other.c_str()));
    EXPECT_FALSE(IsListedName((other + "/").c_str()));
    Walk();
    Do("a:" + other);
    EXPECT_EQ(MediaPaths("music"), Texts{kSong});
    KnownSave(kSong, "as it was");
    ReaddirHide("song.mp3");
    Do("N:" + other + ":" + kSong);
    EXPECT_EQ(MediaPaths("music"), Texts{other});
    EXPECT_EQ(Title("music", other), "as it was");
    ReaddirHide("SONG.MP3");
    Do("d:" + other);
    EXPECT_EQ(MediaPaths("music"), Texts{});
    RulesSet("appliance");
    EXPECT_TRUE(IsListedName(other.c_str()));
    ReaddirHide("");
}
