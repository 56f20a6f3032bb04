// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/row_writer.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <nlohmann/json.hpp>

#include "tools/veluctl/json_text.h"

namespace {

constexpr Column kColumns[] = {
    {"title", "TITLE", Type::text},
    {"size", "SIZE", Type::bytes},
    {"public", "PUBLIC", Type::boolean},
    {"path", "PATH", Type::text},
};

std::string Written(Form form, const std::vector<Row> &rows) {
    char *text = nullptr;
    size_t size = 0;
    FILE *out = open_memstream(&text, &size);
    RowWriter writer(form, kColumns, out);
    for (const Row &row : rows)
        writer.Add(row);
    writer.End();
    fclose(out);
    const std::string written(text, size);
    free(text);
    return written;
}

} // namespace

TEST(RowWriter, AlignsATableAndEndsNoLineInBlanks) {
    EXPECT_EQ(Written(Form::table, {{"One", "999", "t", "/a"}, {"Longer", "12345", "f", "/longer path"}}),
              "TITLE      SIZE  PUBLIC  PATH\n"
              "One       999 B  yes     /a\n"
              "Longer  12.3 kB  no      /longer path\n");
}

TEST(RowWriter, ATableIsSafeToSee) {
    const std::string table = Written(Form::table, {{"\x1B]0;x\a", "1", "t", "/a\nb"}});
    EXPECT_EQ(table.find('\x1B'), std::string::npos);
    EXPECT_NE(table.find("/a\\x0Ab"), std::string::npos);
}

TEST(RowWriter, NoRowsAreNoTable) {
    EXPECT_EQ(Written(Form::table, {}), "");
    EXPECT_EQ(Written(Form::json, {}), "[]\n");
    EXPECT_EQ(Written(Form::csv, {}), "title,size,public,path\n");
}

TEST(RowWriter, CsvQuotesWhatItHasTo) {
    EXPECT_EQ(Written(Form::csv, {{"plain", "1", "t", "/a,b"}, {"say \"hi\"", {}, "f", "/a\nb\r"}}),
              "title,size,public,path\n"
              "plain,1,t,\"/a,b\"\n"
              "\"say \"\"hi\"\"\",,f,\"/a\nb\r\"\n");
}

TEST(RowWriter, CsvKeepsBytes) {
    EXPECT_EQ(Written(Form::csv, {{"\xFF\x01", "1", "t", "/\xE9"}}),
              "title,size,public,path\n\xFF\x01,1,t,/\xE9\n");
}

TEST(RowWriter, JsonHasTypesAndReadsBack) {
    const Json rows = Json::parse(
        Written(Form::json, {{"a \"b\"\n\t\x01", "12345678901", "t", "/x"}, {{}, "no number", "f", "/y"}}));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0]["title"], "a \"b\"\n\t\x01");
    EXPECT_EQ(rows[0]["size"], 12345678901);
    EXPECT_EQ(rows[0]["public"], true);
    EXPECT_TRUE(rows[1]["title"].is_null());
    EXPECT_EQ(rows[1]["size"], "no number");
    EXPECT_EQ(rows[1]["public"], false);
}

TEST(RowWriter, JsonKeepsTheBytesOfATextThatIsNoUtf8BesideIt) {
    const Json rows = Json::parse(Written(Form::json, {{"ok", "1", "t", "/lat\xE9"}}));
    EXPECT_EQ(rows[0]["path"], "/lat\uFFFD");
    EXPECT_EQ(rows[0]["path_hex"], "2f6c6174e9");
    EXPECT_FALSE(rows[0].contains("title_hex"));
}

TEST(RowWriter, SecondsAreRealEvenWhenWhole) {
    Json object = Json::object();
    JsonValuePut(&object, {"duration", "TIME", Type::seconds}, "1");
    EXPECT_EQ(JsonWrite(object, false, false), "{\"duration\":1.0}");
}

TEST(RowWriter, JsonForATerminalIsAscii) {
    Json object = Json::object();
    JsonTextPut(&object, "name", "\u009B\u202E\x7F");
    EXPECT_EQ(JsonWrite(object, false, true), "{\"name\":\"\\u009b\\u202e\\u007f\"}");
}

TEST(RowWriter, SizesAndTimesReadWell) {
    struct Case {
        const char *value;
        Type type;
        const char *shown;
    };
    for (const Case &one : {Case{"0", Type::bytes, "0 B"}, Case{"999", Type::bytes, "999 B"},
                            Case{"1000", Type::bytes, "1.0 kB"}, Case{"123456789", Type::bytes, "123 MB"},
                            Case{"0", Type::seconds, "-"}, Case{"59.4", Type::seconds, "0:59"},
                            Case{"245", Type::seconds, "4:05"}, Case{"3661", Type::seconds, "1:01:01"},
                            Case{"", Type::text, "-"}})
        EXPECT_EQ(ValueShow(one.value, one.type), one.shown) << one.value;
    EXPECT_EQ(ValueShow({}, Type::text), "-");
}

TEST(RowWriter, RowsBehindTheMeasuredOnesComeToo) {
    constexpr size_t kRows = 1200;
    const std::string table = Written(Form::table, std::vector<Row>(kRows, Row{"t", "1", "t", "/p"}));
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), static_cast<long>(kRows + 1));
}
