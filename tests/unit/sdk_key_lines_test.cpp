// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/sdk/key_lines.h"

#include <gtest/gtest.h>

#include "platform/velusdk.h"
#include "scratch_file.h"

namespace {

std::vector<KeyFileLine> LinesOf(std::string_view content) {
    std::vector<KeyFileLine> lines;
    EXPECT_EQ(KeyFileLinesRead(ScratchFile(content).c_str(), &lines), 0);
    return lines;
}

// The only line, which has to be the second of the file.
KeyFileLine LineOf(const std::string &line) {
    const std::vector<KeyFileLine> lines = LinesOf("# first\n" + line + "\n\n");
    EXPECT_EQ(lines.size(), 1U) << line;
    EXPECT_EQ(lines.at(0).number, 2U) << line;
    return lines.at(0);
}

} // namespace

TEST(SdkKeyLines, EmptyLinesAndCommentsAreNone) {
    EXPECT_TRUE(LinesOf("").empty());
    EXPECT_TRUE(LinesOf("\n \t\r\n# key=\"x\"\n   #x\n#").empty());
}

TEST(SdkKeyLines, PairsHaveTheValueThatTheirReaderGets) {
    for (const char *line : {"key=\"value\"", "key='it\"s'", "key=value", " key = a b \r", "key=\"a\" # why",
                             "key=\" a \"", "key=", "key=\"\"", "key=\"open", "key=\"open \t", "key=a=b"}) {
        const KeyFileLine found = LineOf(line);
        char value[64];
        EXPECT_GE(KLIBFileGetKeyValue(ScratchFile(line).c_str(), "key", value, sizeof value, 0), 0) << line;
        EXPECT_EQ(found.value, value) << line;
        EXPECT_EQ(found.key, "key") << line;
        EXPECT_TRUE(found.is_pair) << line;
    }
}

TEST(SdkKeyLines, WhatIsNoPairIsTold) {
    for (const char *line : {"key", "key value", "=value", " = \"value\"", "\"key\"", "key: value"})
        EXPECT_FALSE(LineOf(line).is_pair) << line;
    EXPECT_EQ(LineOf("two words = x").key, "two words");
}

TEST(SdkKeyLines, OnlyAQuoteThatDoesNotEndIsOpen) {
    EXPECT_TRUE(LineOf("key=\"value").open_quote);
    EXPECT_TRUE(LineOf("key='value\"").open_quote);
    EXPECT_FALSE(LineOf("key='value'").open_quote);
    EXPECT_FALSE(LineOf("key=value\"").open_quote);
    EXPECT_FALSE(LineOf("key=").open_quote);
}

TEST(SdkKeyLines, LinesAreCountedFromOneAcrossBlocks) {
    const std::string huge(40000, 'x');
    const std::vector<KeyFileLine> lines = LinesOf("#" + huge + "\nkey=\"" + huge + "\"\n\nlast=1");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].number, 2U);
    EXPECT_EQ(lines[0].value, huge);
    EXPECT_EQ(lines[1].number, 4U);
    EXPECT_EQ(lines[1].key, "last");
}

TEST(SdkKeyLines, AFileThatCannotBeReadHasItsReason) {
    std::vector<KeyFileLine> lines;
    EXPECT_EQ(KeyFileLinesRead("/etc/no-such.conf", &lines), ENOENT);
    EXPECT_EQ(KeyFileLinesRead("/etc", &lines), EISDIR);
    EXPECT_TRUE(lines.empty());
}
