// SPDX-License-Identifier: GPL-2.0-or-later
//
// The engines' table (platform/db/engine.h): a connection goes by what its own engine says, never by another's words.
#include <gtest/gtest.h>

#include "log_catcher.h"
#include "platform/db/engine.h"
#include "platform/veludb.h"
#include "platform/veluindex.h"
#include "tests/unit/test_files.h"

namespace {

void *NeverOpened(const char *, std::string *) {
    ADD_FAILURE() << "an engine that lacks a part was asked to open a database";
    return nullptr;
}

// A table that has everything, under a name that nobody knows.
VELUDBEngine Unknown(const VELUDBWords *words) {
    VELUDBEngine engine = *SqliteEngine();
    engine.name = "unheard-of";
    engine.words = words;
    engine.open = NeverOpened;
    return engine;
}

void ExpectRefused(const VELUDBEngine &engine, const char *name) {
    LogCatcher log;
    EXPECT_EQ(EngineOpen(engine, "unheard-of:place", nullptr), nullptr);
    EXPECT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(
        log.Lines(std::string("Failed to open the database. (the engine \"") + name + "\" lacks a part)")
            .size(),
        1u);
}

TEST(Engine, WithoutItsOwnWordsIsRefusedWithOneLine) {
    ExpectRefused(Unknown(nullptr), "unheard-of");
    const VELUDBWords none = {};
    ExpectRefused(Unknown(&none), "unheard-of");
    for (const auto word : {&VELUDBWords::path, &VELUDBWords::serial, &VELUDBWords::real,
                            &VELUDBWords::compact, &VELUDBWords::clustered, &VELUDBWords::has_table}) {
        VELUDBWords words = *SqliteEngine()->words;
        words.*word = nullptr;
        ExpectRefused(Unknown(&words), "unheard-of");
    }
}

TEST(Engine, WithoutACallANameOrItsBuildIsRefusedWithOneLine) {
    VELUDBEngine engine = Unknown(SqliteEngine()->words);
    engine.store_failed = nullptr;
    ExpectRefused(engine, "unheard-of");
    engine = Unknown(SqliteEngine()->words);
    engine.begin = nullptr;
    ExpectRefused(engine, "unheard-of");
    engine = Unknown(SqliteEngine()->words);
    engine.forbid_writes = nullptr;
    ExpectRefused(engine, "unheard-of");
    engine = Unknown(SqliteEngine()->words);
    engine.name = nullptr;
    ExpectRefused(engine, "");
    engine = Unknown(SqliteEngine()->words);
    engine.seam = kEngineSeam - 1;
    ExpectRefused(engine, "unheard-of");
}

TEST(Engine, OfAnyNameGoesByItsOwnTable) {
    VELUDBEngine engine = Unknown(SqliteEngine()->words);
    engine.open = SqliteEngine()->open;
    const DatabaseHandle db(EngineOpen(engine, "sqlite:/tmp/engine_test.db", nullptr));
    ASSERT_NE(db, nullptr);
    EXPECT_STREQ(VELUDBEngineName(db.get()), "unheard-of");
    EXPECT_EQ(&VELUDBWordsOf(db.get()), SqliteEngine()->words);
    for (const char *end : {"", "-wal", "-shm"})
        unlink((std::string("/tmp/engine_test.db") + end).c_str());
}

TEST(Engine, ThatCannotBeReachedIsToldWithTheCatalogueThatItIsFor) {
    FileWrite("/etc/veluinfo.conf", "mediadb=\"unheard-of:place\"\nphotodb=\"sqlite:/proc/no/place.db\"\n");
    {
        LogCatcher log;
        EXPECT_EQ(MediaInfoDBDelete(kMediaMusic, "/volume1/music/a.mp3"), -1);
        EXPECT_EQ(log.Lines("Failed to open the database of the media catalogue. "
                            "(no database is known as \"unheard-of\")")
                      .size(),
                  1u);
    }
    {
        LogCatcher log;
        EXPECT_EQ(PhotoInfoDBDelete("/volume1/photo/a.jpg"), -1);
        EXPECT_EQ(log.Lines("Failed to open the database of the photo catalogue. (").size(), 1u);
    }
    unlink("/etc/veluinfo.conf");
}

TEST(Engine, AFailedWriteIsToldWithItsCatalogue) {
    LogCatcher log;
    EXPECT_EQ(PhotoDBExec("delete from nowhere"), -1);
    EXPECT_EQ(log.Lines("The photo catalogue failed at [delete from nowhere]. (").size(), 1u);
}

} // namespace
