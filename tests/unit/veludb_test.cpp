// SPDX-License-Identifier: GPL-2.0-or-later
//
// libveludb: what is the same on all engines.
#include "platform/veludb.h"

#include <math.h>
#include <stdint.h>
#include <string.h>

#include <string>

#include "veludb_fixture.h"

namespace {

class VeluDb : public VeluDbFixture, public testing::WithParamInterface<const char *> {
protected:
    void SetUp() override {
        if (!EngineIsReady(GetParam()))
            GTEST_SKIP() << kNoServer;
        Use(GetParam());
    }
};
ON_ALL_ENGINES(VeluDb);

TEST_P(VeluDb, NullArgumentsFail) {
    EXPECT_EQ(VELUDBExecute(nullptr, "select 1", nullptr), -1);
    EXPECT_EQ(VELUDBExecute(db, nullptr, nullptr), -1);
    EXPECT_EQ(VELUDBPrepare(nullptr, "select 1"), -1);
    EXPECT_EQ(VELUDBRun(db, 0, nullptr, 0, nullptr), -1);
    EXPECT_EQ(VELUDBBegin(nullptr), -1);
    EXPECT_NE(VELUDBErrorGet(nullptr), nullptr);
    VELUDBClose(nullptr);
    VELUDBFreeResult(nullptr);
    EXPECT_EQ(VELUDBRowCount(nullptr), 0);
    EXPECT_EQ(VELUDBColumnCount(nullptr), 0);
    int row = -1;
    EXPECT_EQ(VELUDBFetchRow(nullptr, &row), -1);
    EXPECT_EQ(VELUDBFetchField(nullptr, 0, "x"), nullptr);
    EXPECT_STREQ(VELUDBFetchText(nullptr, 0, "x"), "");
}

TEST_P(VeluDb, CountsTheRowsThatAStatementChanged) {
    EXPECT_EQ(Exec("create table t (x integer)"), 0);
    EXPECT_EQ(Exec("insert into t values (1), (2), (3)"), 3);
    EXPECT_EQ(Exec("create table u (x integer)"), 0) << "not the count of the statement before";
    EXPECT_EQ(Exec("update t set x = 7 where x > 1;"), 2);
    EXPECT_EQ(Exec("update t set x = 8 where x = 100"), 0);
    EXPECT_EQ(Exec("select * from t"), 0);
    EXPECT_EQ(Exec("delete from t"), 3);
}

TEST_P(VeluDb, RefusesASecondStatementAndNone) {
    EXPECT_EQ(Exec("create table t (x integer); drop table t"), -1);
    EXPECT_EQ(Exec(""), -1);
    EXPECT_STREQ(VELUDBErrorGet(db), "no statement");
    EXPECT_EQ(BlVELUDBStoreFailed(db), 0);
}

TEST_P(VeluDb, GivesTheErrorOfTheEngine) {
    EXPECT_EQ(Exec("select nonsense from nowhere"), -1);
    EXPECT_NE(strstr(VELUDBErrorGet(db), "nowhere"), nullptr);
    EXPECT_EQ(BlVELUDBStoreFailed(db), 1) << "without its tables a store is as good as away";
    EXPECT_EQ(Exec("select nonsense"), -1);
    EXPECT_NE(strstr(VELUDBErrorGet(db), "nonsense"), nullptr);
    EXPECT_EQ(BlVELUDBStoreFailed(db), 0);
}

TEST_P(VeluDb, FieldsComeAsText) {
    EXPECT_EQ(Query("select 9223372036854775807 as x"), "9223372036854775807");
    EXPECT_EQ(Query("select 0.1 as x"), "0.1");
    EXPECT_EQ(strtod(Query("select 12.300000190734863 as x").c_str(), nullptr), double{12.3f});
    EXPECT_EQ(Query("select null as x"), "-");
    EXPECT_EQ(Query("select '' as x"), "");
    EXPECT_EQ(Query("select 1 as y"), "-") << "another column";
}

TEST_P(VeluDb, BooleansComeAsTAndF) {
    ASSERT_EQ(Exec("create table t (x boolean)"), 0);
    for (const char *value :
         {"'true'", "'t'", "cast(1 as boolean)", "true", "'false'", "'f'", "false", "null"})
        ASSERT_EQ(Exec(std::string("insert into t values (") + value + ")"), 1);
    EXPECT_EQ(Query("select x from t"), "t|t|t|t|f|f|f|-");
}

TEST_P(VeluDb, StepsThroughTheRowsOnce) {
    VELUDBResult *rows = nullptr;
    ASSERT_EQ(VELUDBExecute(db, "select 1 as a, 2 as b union select 3, 4 order by 1", &rows), 0);
    EXPECT_EQ(VELUDBRowCount(rows), 2);
    EXPECT_EQ(VELUDBColumnCount(rows), 2);
    int row = -1;
    EXPECT_EQ(VELUDBFetchRow(rows, &row), 0);
    EXPECT_EQ(VELUDBFetchRow(rows, &row), 0);
    EXPECT_STREQ(VELUDBFetchField(rows, row, "b"), "4");
    EXPECT_STREQ(VELUDBFetchText(rows, row, "b"), "4");
    EXPECT_STREQ(VELUDBFetchText(rows, row, "c"), "");
    EXPECT_EQ(VELUDBFetchRow(rows, &row), -1);
    EXPECT_EQ(row, 1);
    EXPECT_EQ(VELUDBFetchField(rows, 2, "b"), nullptr);
    EXPECT_EQ(VELUDBFetchField(rows, -1, "b"), nullptr);
    int wild = -5;
    EXPECT_EQ(VELUDBFetchRow(rows, &wild), -1);
    VELUDBFreeResult(rows);
}

TEST_P(VeluDb, PreparedStatementsKeepEveryByte) {
    ASSERT_EQ(Exec("create table t (x text, n bigint, r double precision)"), 0);
    const int insert = VELUDBPrepare(db, "insert into t values ($1, $2, $3)");
    ASSERT_GE(insert, 0);
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        bytes.push_back(static_cast<char>(byte));
    const VELUDBValue values[] = {VELUDBValue::Text(bytes.data(), bytes.size()),
                                  VELUDBValue::Integer(INT64_MIN), VELUDBValue::Real(0.5)};
    EXPECT_EQ(VELUDBRun(db, insert, values, 3, nullptr), 1);
    EXPECT_EQ(Query("select x from t"), bytes);
    EXPECT_EQ(Query("select n as x from t"), "-9223372036854775808");
    EXPECT_EQ(Query("select r as x from t"), "0.5");
    const VELUDBValue empty[] = {VELUDBValue::Text(nullptr, 0), VELUDBValue(), VELUDBValue()};
    EXPECT_EQ(VELUDBRun(db, insert, empty, 3, nullptr), 1);
    EXPECT_EQ(Query("select x from t where n is null"), "") << "empty text is not NULL";
    EXPECT_EQ(VELUDBRun(db, insert, values, 2, nullptr), -1) << "a value is missing";
    EXPECT_EQ(VELUDBRun(db, insert + 1, values, 3, nullptr), -1) << "no such statement";
    EXPECT_EQ(VELUDBPrepare(db, "insert into nowhere values ($1)"), -1);
}

TEST_P(VeluDb, ParametersMayBeUsedMoreThanOnce) {
    const int query = VELUDBPrepare(db, "select $1 || $2 || $1 as x");
    const VELUDBValue values[] = {VELUDBValue::Text("a", 1), VELUDBValue::Text("b", 1)};
    VELUDBResult *rows = nullptr;
    ASSERT_EQ(VELUDBRun(db, query, values, 2, &rows), 0) << VELUDBErrorGet(db);
    EXPECT_STREQ(VELUDBFetchField(rows, 0, "x"), "aba");
    VELUDBFreeResult(rows);
}

TEST_P(VeluDb, SyncSucceedsBesideAReader) {
    ASSERT_EQ(Exec("create table t (x text)"), 0);
    VELUDB *reader = VELUDBOpen(uri.c_str());
    ASSERT_EQ(VELUDBExecute(reader, "begin", nullptr), 0);
    ASSERT_EQ(VELUDBExecute(reader, "select * from t", nullptr), 0);
    ASSERT_EQ(Exec("insert into t values ('a')"), 1);
    EXPECT_EQ(VELUDBSync(db), 0);
    VELUDBClose(reader);
    EXPECT_EQ(VELUDBSync(db), 0);
}

TEST_P(VeluDb, LikeMindsCaseAndTakesTheBackslashAsEscape) {
    ASSERT_EQ(Exec("create table t (x text)"), 0);
    ASSERT_EQ(
        Exec("insert into t values ('/a_b/1'), ('/axb/1'), ('/A_B/1'), ('/a%b/1'), ('/a\\b/1'), ('/a''b/1')"),
        6);
    EXPECT_EQ(Query("select x from t where x like '/a\\_b/%'"), "/a_b/1");
    EXPECT_EQ(Query("select x from t where x like '/a\\%b/%'"), "/a%b/1");
    EXPECT_EQ(Query("select x from t where x like '/a\\\\b/%'"), "/a\\b/1");
    EXPECT_EQ(Query("select x from t where x like '/a''b/%'"), "/a'b/1");
    EXPECT_EQ(Query("select x from t where x like '/A_B/%'"), "/A_B/1");
    EXPECT_EQ(Query("select x from t where x LIKE '/a_b/_' order by x"),
              "/a%b/1|/a'b/1|/a\\b/1|/a_b/1|/axb/1");
    EXPECT_EQ(Query("select x from t where x not like '/a%' and x like '%1'"), "/A_B/1");
    EXPECT_EQ(Query("select x from t where not x like '/a%'"), "/A_B/1");
    EXPECT_EQ(Query("select x from t where x like '/a__b/1%' escape '_'"), "/a_b/1");
}

TEST_P(VeluDb, LikeComparesBytes) {
    ASSERT_EQ(Exec("create table t (x text primary key)"), 0);
    ASSERT_EQ(Exec("insert into t values ('/\xe4/1'), ('/\xe5/1'), ('/\xff/1'), ('/\xff\xff/1')"), 4);
    EXPECT_EQ(Query("select x from t where x like '/\xe4/%'"), "/\xe4/1");
    EXPECT_EQ(Query("select x from t where x like '/\xff%' order by x"), "/\xff/1|/\xff\xff/1");
    EXPECT_EQ(Query("select x from t where x like '\xff%'"), "");
}

TEST_P(VeluDb, LikeKeepsItsMeaningWhereverItStands) {
    ASSERT_EQ(Exec("create table t (x text, y text)"), 0);
    ASSERT_EQ(Exec("insert into t values ('ab', 'b'), ('b', 'ab'), (null, 'a')"), 3);
    EXPECT_EQ(Query("select x from t where y || x like 'ba%'"), "ab");
    EXPECT_EQ(Query("select x from t where x like 'a' || '%'"), "ab");
    EXPECT_EQ(Query("select x from t where y like 'b%' or x like 'b%'"), "ab|b");
    EXPECT_EQ(Query("select y as x from t where (x like 'a%' and y like 'b%') order by y"), "b");
    EXPECT_EQ(Query("select y as x from t where t.x like 'a%' limit 1"), "b");
    EXPECT_EQ(Query("select ' where x like ''a%'' and' as x"), " where x like 'a%' and");
    EXPECT_EQ(Query("select x from t where x like '%'"), "ab|b");
    EXPECT_EQ(Query("select x from t where x like ''"), "");
    EXPECT_EQ(Query("select case when x like 'a%' then 1 else 0 end as x from t"), "1|0|0");
}

TEST_P(VeluDb, RealsHaveTheShortestTextThatReadsBack) {
    ASSERT_EQ(Exec("create table t (x double precision)"), 0);
    const int insert = VELUDBPrepare(db, "insert into t values ($1)");
    const struct {
        double value;
        const char *text;
    } cases[] = {{0, "0"},          {12.3f, "12.300000190734863"}, {100000, "1e+05"},     {1e15, "1e+15"},
                 {0.1, "0.1"},      {-2.5e-7, "-2.5e-07"},         {1.5e300, "1.5e+300"}, {NAN, "-"},
                 {5e-324, "5e-324"}};
    for (const auto &[value, text] : cases) {
        const VELUDBValue values[] = {VELUDBValue::Real(value)};
        ASSERT_EQ(VELUDBRun(db, insert, values, 1, nullptr), 1) << VELUDBErrorGet(db);
        EXPECT_EQ(Query("select x from t"), text);
        ASSERT_EQ(Exec("delete from t"), 1);
    }
}

TEST_P(VeluDb, TransactionsDoNotNest) {
    ASSERT_EQ(Exec("create table t (x text)"), 0);
    ASSERT_EQ(VELUDBBegin(db), 0);
    EXPECT_EQ(VELUDBBegin(db), -1);
    EXPECT_NE(VELUDBInTransaction(db), 0);
    ASSERT_EQ(Exec("insert into t values ('a')"), 1);
    EXPECT_EQ(VELUDBCommit(db), 0);
    EXPECT_EQ(VELUDBInTransaction(db), 0);
    EXPECT_EQ(VELUDBCommit(db), -1) << "there is nothing to commit";
    VELUDBRollback(db);
    EXPECT_EQ(Query("select x from t"), "a");
}

TEST_P(VeluDb, AConnectionThatIsClosedRollsBack) {
    ASSERT_EQ(Exec("create table t (x text)"), 0);
    VELUDB *other = VELUDBOpen(uri.c_str());
    ASSERT_EQ(VELUDBBegin(other), 0);
    ASSERT_EQ(VELUDBExecute(other, "insert into t values ('a')", nullptr), 1);
    VELUDBClose(other);
    EXPECT_EQ(Query("select x from t"), "");
}

TEST_P(VeluDb, AnUpsertCountsItsRow) {
    ASSERT_EQ(Exec("create table t (path text primary key, x text)"), 0);
    const char *upsert = "insert into t values ('/a', 'x') on conflict (path) do update set x = excluded.x";
    EXPECT_EQ(Exec(upsert), 1);
    EXPECT_EQ(Exec(upsert), 1);
    EXPECT_EQ(Query("select x from t"), "x");
}

TEST(VeluDbEscape, LiteralsDoubleQuotes) {
    char out[32] = "";
    EXPECT_EQ(VELUDBEscapeString(out, "a'b''", 5), 8);
    EXPECT_STREQ(out, "a''b''''");
    EXPECT_EQ(VELUDBEscapeString(out, "abcdef", 3), 3);
    EXPECT_STREQ(out, "abc");
    EXPECT_EQ(VELUDBEscapeString(out, "\\%_", 3), 3);
    EXPECT_STREQ(out, "\\%_");
    EXPECT_EQ(VELUDBEscapeString(out, "ab\0'd", 5), 2) << "a statement ends at a zero byte";
    EXPECT_EQ(VELUDBEscapeString(nullptr, "a", 1), -1);
    EXPECT_EQ(VELUDBEscapeString(out, nullptr, 1), -1);
    EXPECT_EQ(VELUDBEscapeString(out, "", 0), 0);
    EXPECT_STREQ(out, "");
}

TEST(VeluDbEscape, PatternsGetBackslashes) {
    char out[8] = "";
    EXPECT_EQ(VELUDBEscapeBackslash(out, sizeof out, "a_%\\"), 7);
    EXPECT_STREQ(out, "a\\_\\%\\\\");
    EXPECT_EQ(VELUDBEscapeBackslash(out, 7, "a_%\\"), -1);
    EXPECT_EQ(VELUDBEscapeBackslash(out, 3, "abc"), -1);
    EXPECT_EQ(VELUDBEscapeBackslash(out, 4, "abc"), 3);
    EXPECT_EQ(VELUDBEscapeBackslash(out, 0, ""), -1);
    EXPECT_EQ(VELUDBEscapeBackslash(out, 1, ""), 0);
    EXPECT_EQ(VELUDBEscapeBackslash(nullptr, 8, "a"), -1);
    EXPECT_EQ(VELUDBEscapeBackslash(out, 8, nullptr), -1);
}

} // namespace
