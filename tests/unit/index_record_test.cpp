// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a run writes down for people.
#include "daemon/index_record.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/unit/test_files.h"

namespace {

constexpr char kPlace[] = "/tmp/record";

struct Record : testing::Test {
    void TearDown() override { std::filesystem::remove(kPlace); }
};

} // namespace

TEST_F(Record, IsReadAsItWasWritten) {
    IndexRecord record = {
        .pid = 5, .begin = 7, .end = 9, .milliseconds = 1500, .files = 3, .known = 4, .removed = 2};
    record.left_out = {{12, "of no known kind"}, {1, "hidden"}};
    record.folder = "/a b\nend 1\xff";
    IndexRecordWrite(kPlace, record);
    IndexRecord read;
    ASSERT_TRUE(IndexRecordRead(kPlace, &read));
    EXPECT_EQ(read.pid, 5);
    EXPECT_EQ(read.end, 9) << "the folder is no line";
    EXPECT_EQ(read.milliseconds, 1500);
    EXPECT_EQ(read.known, 4);
    EXPECT_EQ(read.removed, 2);
    EXPECT_EQ(read.left_out, record.left_out);
    EXPECT_EQ(read.folder, record.folder);
    EXPECT_FALSE(std::filesystem::exists(std::string(kPlace) + ".new"));
}

TEST_F(Record, ADamagedOneIsNone) {
    IndexRecord read;
    EXPECT_FALSE(IndexRecordRead(kPlace, &read));
    for (const char *text :
         {"", "begin 5\n", "begin 5", "folder /x", "begin x\nfolder ", "left_out \nleft_out\n\n \nfolder "}) {
        FileWrite(kPlace, text);
        read = {};
        EXPECT_FALSE(IndexRecordRead(kPlace, &read)) << text;
    }
    FileWrite(kPlace, "new 3\nbegin 5\nfolder ");
    EXPECT_TRUE(IndexRecordRead(kPlace, &read)) << "a later version may have more";
}

TEST_F(Record, WhereItCannotBeWrittenNothingIsLeft) {
    IndexRecordWrite("/none/record", {.begin = 1});
    EXPECT_FALSE(std::filesystem::exists("/none"));
}
