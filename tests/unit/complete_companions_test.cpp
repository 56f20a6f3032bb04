// SPDX-License-Identifier: GPL-2.0-or-later
//
// What was taken together under the rules `complete`: the rows of either file say which the other one is, whatever comes, goes or
// is renamed.
#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "catalogue/file_stamp.h"
#include "daemon/queue_commands.h"
#include "daemon/queue_line.h"
#include "daemon/queue_rename.h"
#include "tests/unit/complete_fixture.h"
#include "tests/unit/failing_readdir.h"
#include "tests/unit/photo_catalogue.h"

namespace fs = std::filesystem;

namespace {

using Paths = std::vector<std::string>;

const std::string kPhotos = "/volume1/photo/A";
const std::string kJpeg = kPhotos + "/IMG_1.JPG";
const std::string kRaw = kPhotos + "/IMG_1.CR2";
const std::string kFilm = kPhotos + "/IMG_1.MOV";
const std::string kSidecar = kPhotos + "/IMG_1.xmp";

class CompleteCompanions : public CompleteFixture {
protected:
    CompleteCompanions() { supportphoto = 1; }
    ~CompleteCompanions() override {
        ReaddirFailAt("", 0);
        supportphoto = 0;
    }
};

void Do(const std::string &line) {
    QueueRequest request;
    ASSERT_TRUE(QueueLineParse(line, request)) << line;
    InRun([&] {
        QueueRequestExecute(request);
        RenamesSettle();
    });
}

Paths FactsNamed(const std::string &path, const std::string &name) {
    Paths found;
    for (const std::string &fact : FactsOf(path))
        if (fact.starts_with(name + "="))
            found.push_back(fact.substr(name.size() + 1));
    return found;
}

Paths CompanionsIn(const std::string &path) {
    return FactsNamed(path, "companion");
}

std::string StampOf(const std::string &path) {
    return MediaRow("file_state", path)["stamp"];
}

std::string OwnStamp(const std::string &path) {
    struct stat status;
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return FileStampOf(status);
}

// Saves a row of a file as it would be if it had been read long ago, when `beside` lay beside it, and had been of another camera
// than it says.
void KnownSave(const std::string &path, int kind, const std::string &beside = "") {
    MediaInfo record = {};
    snprintf(record.path, sizeof record.path, "%s", path.c_str());
    snprintf(record.title, sizeof record.title, "as it was");
    const FileFact facts[] = {{"keyword", 0, "one", "one"}};
    const std::string stamp = OwnStamp(path) + "A" + beside;
    InRun([&] { EXPECT_EQ(MediaInfoDBSaveFile(kind, &record, {.stamp = stamp, .facts = facts}), 0); });
}

void PairSave() {
    FileWrite(kJpeg, "camera J");
    FileWrite(kRaw, "camera R");
    KnownSave(kJpeg, kMediaPhoto);
    KnownSave(kRaw, kMediaPhoto);
}

bool AreAsTheyWere(const Paths &paths, const char *table = "photo") {
    return std::ranges::all_of(paths, [&](const std::string &path) {
        return Title(table, path) == "as it was" && FactsNamed(path, "keyword") == Paths{"one"};
    });
}

} // namespace

TEST(FileStamp, HasWordsOfNamesInFront) {
    const std::string own = "1 2.000000000 3.000000000 4 r1";
    const std::string companions = FileStampCompanions({"/a"});
    const std::string subtitles = FileStampBeside(Paths{"/a"});
    const std::string sidecar = " +3 4.000000000 ";
    EXPECT_EQ(companions.size(), subtitles.size());
    EXPECT_NE(companions, subtitles);
    EXPECT_EQ(FileStampCompanions({}), "");
    EXPECT_EQ(FileStampNames(own + companions + subtitles + " p"), companions + subtitles);
    EXPECT_EQ(FileStampNames(own + subtitles + " p"), subtitles);
    EXPECT_EQ(FileStampNames(own + companions + sidecar), companions);
    EXPECT_EQ(FileStampNames(own + sidecar), "");
    EXPECT_EQ(FileStampNames(own), "");
    EXPECT_EQ(FileStampNames(own + " m12"), "") << "cut short";
    EXPECT_EQ(FileStampCover(own + companions + subtitles + " p"), " p");
    EXPECT_EQ(FileStampCover(own + companions + sidecar), sidecar);
    EXPECT_EQ(FileStampCover(own), "");
    EXPECT_TRUE(FileStampHasCompanions(own + companions + sidecar, {"/a"}));
    EXPECT_FALSE(FileStampHasCompanions(own + companions, {"/b"}));
    EXPECT_FALSE(FileStampHasCompanions(own + companions, {}));
    EXPECT_TRUE(FileStampHasCompanions(own + subtitles, {}));
    EXPECT_FALSE(FileStampHasCompanions(own + subtitles, {"/a"}));
}

TEST_F(CompleteCompanions, AreFactsOfEither) {
    FileWrite(kJpeg, "camera J");
    FileWrite(kRaw, "camera R");
    FileWrite(kFilm, "film F");
    FileWrite(kPhotos + "/IMG_2.JPG", "camera O");
    Do("A:/volume1/photo");
    EXPECT_EQ(CompanionsIn(kJpeg), (Paths{kRaw, kFilm}));
    EXPECT_EQ(CompanionsIn(kRaw), (Paths{kJpeg, kFilm}));
    EXPECT_EQ(CompanionsIn(kFilm), (Paths{kRaw, kJpeg}));
    EXPECT_EQ(CompanionsIn(kPhotos + "/IMG_2.JPG"), Paths());
}

TEST_F(CompleteCompanions, ComeToAnOlderCatalogueWithoutOpeningAFile) {
    PairSave();
    FileWrite(kFilm, "film F");
    KnownSave(kFilm, kMediaVideo, kStampOwnCover);
    for (const char *line : {"A:/volume1/photo", "R:photo"}) {
        Do(line);
        EXPECT_EQ(CompanionsIn(kJpeg), (Paths{kRaw, kFilm}));
        EXPECT_EQ(CompanionsIn(kFilm), (Paths{kRaw, kJpeg}));
        EXPECT_TRUE(AreAsTheyWere({kJpeg, kRaw}));
        EXPECT_TRUE(AreAsTheyWere({kFilm}, "video"));
        EXPECT_EQ(StampOf(kJpeg), OwnStamp(kJpeg) + "A" + FileStampCompanions({kRaw, kFilm}));
        EXPECT_EQ(StampOf(kFilm),
                  OwnStamp(kFilm) + "A" + FileStampCompanions({kRaw, kJpeg}) + kStampOwnCover);
        EXPECT_TRUE(HasNoChild());
    }
}

TEST_F(CompleteCompanions, FollowRequestsAboutOneOfThem) {
    PairSave();
    fs::create_directories("/volume1/photo/B");
    const std::string away = "/volume1/photo/B/IMG_1.CR2";
    const std::string other = kPhotos + "/IMG_2.CR2";
    const struct {
        std::string from, to, line;
        Paths companions;
    } steps[] = {{kRaw, away, "d:" + kRaw, {}},
                 {away, kRaw, "a:" + kRaw, {kRaw}},
                 {kRaw, away, "D:" + kRaw, {}},
                 {away, kRaw, "A:" + kRaw, {kRaw}},
                 {kRaw, other, "N:" + other + ":" + kRaw, {}},
                 {other, kRaw, "N:" + kRaw + ":" + other, {kRaw}},
                 {kRaw, away, "N:" + away + ":" + kRaw, {}},
                 {away, kRaw, "N:" + kRaw + ":" + away, {kRaw}}};
    Do("A:/volume1/photo");
    ASSERT_EQ(CompanionsIn(kJpeg), Paths{kRaw});
    for (const auto &[from, to, line, companions] : steps) {
        fs::rename(from, to);
        Do(line);
        EXPECT_EQ(CompanionsIn(kJpeg), companions) << line;
        EXPECT_EQ(CompanionsIn(to), to == kRaw ? Paths{kJpeg} : Paths()) << line;
        EXPECT_TRUE(AreAsTheyWere({kJpeg})) << line;
        EXPECT_EQ(StampOf(kJpeg), OwnStamp(kJpeg) + "A" + FileStampCompanions(companions)) << line;
    }
}

TEST_F(CompleteCompanions, FollowARenamedFolder) {
    PairSave();
    Do("A:/volume1/photo");
    fs::rename(kPhotos, "/volume1/photo/B");
    Do("N:/volume1/photo/B:" + kPhotos);
    const std::string jpeg = "/volume1/photo/B/IMG_1.JPG";
    const std::string raw = "/volume1/photo/B/IMG_1.CR2";
    EXPECT_EQ(CompanionsIn(jpeg), Paths{raw});
    EXPECT_EQ(CompanionsIn(raw), Paths{jpeg});
    EXPECT_TRUE(AreAsTheyWere({jpeg, raw}));
    EXPECT_TRUE(HasNoChild());
}

TEST_F(CompleteCompanions, GoWithWhatAWalkDoesNotFind) {
    PairSave();
    Do("A:/volume1/photo");
    for (const char *line : {"A:/volume1/photo", "R:photo"}) {
        FileWrite(kRaw, "camera R");
        Do(line);
        ASSERT_EQ(CompanionsIn(kJpeg), Paths{kRaw});
        fs::remove(kRaw);
        Do(line);
        EXPECT_EQ(CompanionsIn(kJpeg), Paths()) << line;
        EXPECT_TRUE(AreAsTheyWere({kJpeg}));
    }
}

TEST_F(CompleteCompanions, LeaveSidecarsAlone) {
    PairSave();
    FileWrite(kSidecar, "xmp");
    const FdHandle sidecar(open(kSidecar.c_str(), O_RDONLY | O_CLOEXEC));
    KnownSave(kJpeg, kMediaPhoto, FileStampBeside(sidecar));
    KnownSave(kRaw, kMediaPhoto, FileStampBeside(sidecar));
    Do("A:/volume1/photo");
    EXPECT_EQ(CompanionsIn(kJpeg), Paths{kRaw});
    EXPECT_EQ(StampOf(kJpeg), OwnStamp(kJpeg) + "A" + FileStampCompanions({kRaw}) + FileStampBeside(sidecar));
    EXPECT_TRUE(AreAsTheyWere({kJpeg, kRaw}));
    fs::remove(kSidecar);
    Do("A:/volume1/photo");
    EXPECT_EQ(MediaRow("photo", kJpeg)["camera_model"], "J") << "it is read without";
    EXPECT_EQ(CompanionsIn(kJpeg), Paths{kRaw});
}

TEST_F(CompleteCompanions, StayWhereNothingCanBeSeen) {
    PairSave();
    Do("A:/volume1/photo");
    for (const char *name : {"IMG_1.JPG", "IMG_1.CR2"}) {
        ReaddirFailAt(name, EIO);
        for (const std::string &line : {"a:" + kJpeg, "a:" + kRaw}) {
            Do(line);
            EXPECT_EQ(CompanionsIn(kJpeg), Paths{kRaw}) << name << ' ' << line;
            EXPECT_EQ(CompanionsIn(kRaw), Paths{kJpeg}) << name << ' ' << line;
        }
    }
    ReaddirFailAt("", 0);
    Do("a:" + kJpeg);
    EXPECT_EQ(CompanionsIn(kJpeg), Paths{kRaw});
    fs::remove(kRaw);
    Do("a:" + kJpeg);
    EXPECT_EQ(CompanionsIn(kJpeg), Paths());
}

TEST_F(CompleteCompanions, GiveNoRowToWhatHasNone) {
    FileWrite(kJpeg, "camera J");
    FileWrite(kRaw, "camera R");
    Do("a:" + kJpeg);
    EXPECT_EQ(CompanionsIn(kJpeg), Paths{kRaw});
    EXPECT_TRUE(MediaRow("photo", kRaw).empty()) << "it has a request of its own";
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image"), "1");
    Do("a:" + kRaw);
    EXPECT_EQ(CompanionsIn(kRaw), Paths{kJpeg});
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image"), "2");
}

TEST_F(CompleteCompanions, BringTheLibraryInStepWithAFileThatHasChanged) {
    PairSave();
    Do("A:/volume1/photo");
    FileWrite(kJpeg, "camera changed");
    fs::remove(kRaw);
    Do("d:" + kRaw);
    EXPECT_EQ(CompanionsIn(kJpeg), Paths());
    EXPECT_EQ(MediaRow("photo", kJpeg)["camera_model"], "changed");
    EXPECT_EQ(PhotoQuery("select model as x from photo_image where path = '" + kJpeg + "'"), "changed");
}

TEST_F(CompleteCompanions, OfAFilmStandBesideItsSubtitles) {
    FileWrite(kJpeg, "camera J");
    FileWrite(kFilm, "film F");
    FileWrite(kPhotos + "/IMG_1.srt", "text");
    KnownSave(kFilm, kMediaVideo, kStampOwnCover);
    Do("A:/volume1/photo");
    EXPECT_EQ(CompanionsIn(kFilm), Paths{kJpeg});
    EXPECT_EQ(FactsNamed(kFilm, "subtitle"), Paths{kPhotos + "/IMG_1.srt"});
    fs::remove(kPhotos + "/IMG_1.srt");
    Do("d:" + kPhotos + "/IMG_1.srt");
    EXPECT_EQ(CompanionsIn(kFilm), Paths{kJpeg});
    EXPECT_EQ(FactsNamed(kFilm, "subtitle"), Paths());
    fs::remove(kJpeg);
    Do("d:" + kJpeg);
    EXPECT_EQ(CompanionsIn(kFilm), Paths());
    EXPECT_TRUE(AreAsTheyWere({kFilm}, "video"));
}

TEST_F(CompleteCompanions, FollowFilesThatCannotBeRead) {
    reader_programs[1] = "/none"; // as on a machine without the package of films
    FileWrite(kFilm, "film F");
    FileWrite(kRaw, "crash");
    for (const char *line : {"A:/volume1/photo", "R:photo"}) {
        FileWrite(kJpeg, "camera J");
        Do(line);
        EXPECT_EQ(CompanionsIn(kFilm), (Paths{kRaw, kJpeg}));
        EXPECT_EQ(CompanionsIn(kRaw), (Paths{kJpeg, kFilm}));
        FileWrite(kPhotos + "/IMG_1.srt", "text");
        fs::remove(kJpeg);
        Do(line);
        EXPECT_EQ(CompanionsIn(kFilm), Paths{kRaw});
        EXPECT_EQ(CompanionsIn(kRaw), Paths{kFilm});
        EXPECT_EQ(FactsNamed(kFilm, "subtitle"), Paths{kPhotos + "/IMG_1.srt"});
    }
    FileWrite(kJpeg, "camera J");
    Do("a:" + kJpeg);
    EXPECT_EQ(CompanionsIn(kFilm), (Paths{kRaw, kJpeg}));
    EXPECT_EQ(CompanionsIn(kRaw), (Paths{kJpeg, kFilm}));
    EXPECT_NE(MediaRow("file_state", kRaw)["trouble"], "");
    EXPECT_EQ(StampOf(kFilm), "");
}

TEST_F(CompleteCompanions, OfABurstFollowTheOneThatIsShown) {
    const auto path = [](int number, const char *mark = "") {
        return kPhotos + "/X_BURST00" + std::to_string(number) + mark + ".jpg";
    };
    for (int number = 1; number <= 3; ++number) {
        FileWrite(path(number), "camera B");
        KnownSave(path(number), kMediaPhoto);
    }
    Do("A:/volume1/photo");
    EXPECT_EQ(CompanionsIn(path(1)), (Paths{path(2), path(3)}));
    EXPECT_EQ(CompanionsIn(path(2)), Paths{path(1)});
    fs::rename(path(3), path(3, "_COVER"));
    Do("N:" + path(3, "_COVER") + ":" + path(3));
    EXPECT_EQ(CompanionsIn(path(3, "_COVER")), (Paths{path(1), path(2)}));
    EXPECT_EQ(CompanionsIn(path(1)), Paths{path(3, "_COVER")});
    EXPECT_EQ(CompanionsIn(path(2)), Paths{path(3, "_COVER")});
    fs::remove(path(3, "_COVER"));
    Do("d:" + path(3, "_COVER"));
    EXPECT_EQ(CompanionsIn(path(1)), Paths{path(2)});
    EXPECT_EQ(CompanionsIn(path(2)), Paths{path(1)});
    EXPECT_TRUE(AreAsTheyWere({path(1), path(2)}));
    EXPECT_TRUE(HasNoChild());
}

TEST_F(CompleteCompanions, AreNoneByTheAppliancesRules) {
    RulesSet("appliance");
    FileWrite(kJpeg, "camera J");
    FileWrite(kPhotos + "/IMG_1.MOV", "film F");
    Do("A:/volume1/photo");
    Do("a:" + kJpeg);
    EXPECT_FALSE(FileTablesAreMade());
}
