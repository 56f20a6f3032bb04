// SPDX-License-Identifier: GPL-2.0-or-later
//
// Databases of older versions, as programs of those versions have left them (databases/CATALOGUE_VERSION.ENGINE.sql,
// a statement a line), and what becomes of them.
#include "platform/db/words.h"
#include "platform/index/schema.h"

#include <fstream>
#include <string>
#include <vector>

#include "catalogue_fixture.h"

namespace {

class Schema : public CatalogueStore {
protected:
    // Fills the database of a catalogue with a stored one.
    static void Load(const std::string &stored, const std::string &uri) {
        const std::string file = std::string(VELU_STORED_DATABASES "/") + stored + "." + GetParam() + ".sql";
        std::ifstream lines(file, std::ios::binary);
        std::vector<std::string> statements;
        for (std::string line; std::getline(lines, line);)
            statements.push_back(line);
        ASSERT_FALSE(statements.empty()) << file;
        MustExecute(uri, statements);
    }

    static std::string Version() { return Peer().Query("select version as x from schema_version"); }
};
ON_ALL_ENGINES(Schema);

// What the stored databases of version 1 hold.
const std::string kStoredPaths = "/volume1/music/A/it's.mp3|/volume1/music/A/\xff\xfe.mp3";
const std::string kStoredTitles = "caf\xc3\xa9|\xe2\x82\xac";

bool KeepsBooleans(const VELUDBWords &engine) {
    return engine.keeps_spelled_booleans;
}

bool UnifiesBooleans(const VELUDBWords &engine) {
    return !engine.keeps_spelled_booleans;
}

// Two versions more than the first, with a step that only one engine needs in each.
std::vector<SchemaStep> LaterSteps() {
    const std::span<const SchemaStep> own = SchemaSteps();
    std::vector<SchemaStep> steps(own.begin(), own.end());
    std::erase_if(steps, [](const SchemaStep &step) { return step.version > 1; });
    steps.push_back({2, Catalogue::media, nullptr, "alter table music add column mood text default 'calm'"});
    steps.push_back({2, Catalogue::photo, nullptr, "create table not_here (path PATH)"});
    steps.push_back({2, Catalogue::media, KeepsBooleans, "create table on_sqlite (path PATH)"});
    steps.push_back({2, Catalogue::media, UnifiesBooleans, "create table on_postgresql (path PATH)"});
    steps.push_back({3, Catalogue::media, nullptr, "update music set mood = 'wild' where track = 3"});
    steps.push_back({3, Catalogue::media, nullptr, "create table last (id SERIAL primary key, weight REAL)"});
    return steps;
}

TEST_P(Schema, AStoredDatabaseIsBroughtUpToDateAndUsed) {
    Load("media_1", media_uri);
    Load("photo_1", photo_uri);
    EXPECT_EQ(Save(kMediaMusic, "/volume1/music/new.mp3"), 0);
    EXPECT_EQ(Paths("music"), kStoredPaths + "|/volume1/music/new.mp3");
    EXPECT_EQ(Peer().Query("select title as x from music where track > 0 order by path"), kStoredTitles);
    EXPECT_EQ(Peer().Query("select duration as x from music where track = 3"), "12.300000190734863");
    EXPECT_EQ(MediaInfoDBDelete(kMediaTree, "/volume1/music"), 0);
    EXPECT_EQ(Peer().Count("music"), 0);
    EXPECT_EQ(PhotoDBExec("update photo_share set public = 'f' where public = 't'"), 1);
    EXPECT_EQ(VELUIndexPhotoUpdateVideoStatus("/volume1/video/v.avi"), 0);
    EXPECT_EQ(PhotoPaths("photo_image"), "/volume1/photo/T/\xe9.jpg");
    EXPECT_EQ(PhotoDBExec("insert into photo_image (path) values ('/volume1/photo/2.jpg')"), 1);
    EXPECT_EQ(Peer(photo_uri).Query("select id as x from photo_image order by id"), "1|2")
        << "the counter goes on where it was";
}

TEST_P(Schema, AStoredDatabaseGoesThroughAllLaterVersions) {
    Load("media_1", media_uri);
    Peer peer;
    ASSERT_EQ(SchemaApplySteps(peer.db, Catalogue::media, LaterSteps()), 0);
    EXPECT_EQ(Version(), "3");
    EXPECT_EQ(Paths("music"), kStoredPaths);
    EXPECT_EQ(peer.Query("select title as x from music order by path"), kStoredTitles);
    EXPECT_EQ(peer.Query("select mood as x from music order by path"), "wild|calm");
    EXPECT_EQ(peer.Count(OnSqlite() ? "on_sqlite" : "on_postgresql"), 0);
    EXPECT_EQ(peer.Count("last"), 0);
    for (const char *absent : {OnSqlite() ? "on_postgresql" : "on_sqlite", "not_here"})
        EXPECT_EQ(peer.Query(std::string("select path as x from ") + absent).find("error: "), 0u) << absent;
    // Nothing is done twice.
    ASSERT_EQ(peer.Exec("update music set mood = 'mine'"), 2);
    EXPECT_EQ(SchemaApplySteps(peer.db, Catalogue::media, LaterSteps()), 0);
    EXPECT_EQ(peer.Query("select mood as x from music order by path"), "mine|mine");
    LogCatcher log;
    EXPECT_EQ(Save(0, "/a"), -1) << "a program that knows version 1 only";
    EXPECT_EQ(log.Lines("tables of version 3").size(), 1u);
}

TEST_P(Schema, AStepThatFailsLeavesTheOldVersionWhole) {
    Load("media_1", media_uri);
    std::vector<SchemaStep> steps = LaterSteps();
    steps.push_back({3, Catalogue::media, nullptr, "alter table nowhere add column x text"});
    Peer peer;
    LogCatcher log;
    EXPECT_EQ(SchemaApplySteps(peer.db, Catalogue::media, steps), -1);
    EXPECT_EQ(log.Lines("Failed to prepare the tables of the media catalogue.").size(), 1u);
    EXPECT_EQ(log.Lines("nowhere").size(), 1u);
    EXPECT_EQ(VELUDBInTransaction(peer.db), 0);
    EXPECT_EQ(Version(), "1");
    EXPECT_EQ(peer.Query("select mood as x from music").find("error: "), 0u) << "the column is gone again";
    EXPECT_EQ(Save(0, "/a"), 0) << "the program of the old version goes on";
}

} // namespace
