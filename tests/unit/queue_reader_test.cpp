// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_reader.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "tests/unit/test_files.h"

namespace {

constexpr char kPath[] = "/tmp/queue_reader_test";

std::vector<std::string> Lines(std::string_view content) {
    FileWrite(kPath, content);
    QueueReader reader;
    EXPECT_TRUE(reader.Open(kPath));
    std::vector<std::string> lines;
    for (std::string_view line; reader.Next(&line);)
        lines.emplace_back(line);
    return lines;
}

using Texts = std::vector<std::string>;

} // namespace

TEST(QueueReader, GivesLinesWithTheirNewlines) {
    EXPECT_EQ(Lines("a:1\n\nb:2\n"), (Texts{"a:1\n", "\n", "b:2\n"}));
}

TEST(QueueReader, GivesALastLineWithoutNewline) {
    EXPECT_EQ(Lines("a:1\nb:2"), (Texts{"a:1\n", "b:2"}));
}

TEST(QueueReader, AnEmptyFileHasNoLines) {
    EXPECT_TRUE(Lines("").empty());
}

TEST(QueueReader, ALineOf4111BytesIsWhole) {
    const std::string line = std::string(kQueueLineMax - 1, 'x') + "\n";
    EXPECT_EQ(Lines(line + "next\n"), (Texts{line, "next\n"}));
}

TEST(QueueReader, ALongerLineComesInPieces) {
    const std::string body(kQueueLineMax, 'x');
    EXPECT_EQ(Lines(body + "\nnext\n"), (Texts{body, "\n", "next\n"}));
    EXPECT_EQ(Lines(body + "yz\n"), (Texts{body, "yz\n"}));
}

TEST(QueueReader, KeepsZeroBytes) {
    EXPECT_EQ(Lines(std::string_view("a\0b\nc\n", 6)), (Texts{std::string("a\0b\n", 4), "c\n"}));
}

TEST(QueueReader, LinesAcrossItsBlocksAreWhole) {
    std::string content;
    Texts expected;
    for (int i = 0; i < 50000; ++i) {
        expected.push_back("a:/volume1/music/" + std::to_string(i) + ".mp3\n");
        content += expected.back();
    }
    EXPECT_EQ(Lines(content), expected);
}

TEST(QueueReader, LooksAgainBehindTheEnd) {
    FileWrite(kPath, "a:1\n");
    QueueReader reader;
    ASSERT_TRUE(reader.Open(kPath));
    std::string_view line;
    ASSERT_TRUE(reader.Next(&line));
    ASSERT_FALSE(reader.Next(&line));
    std::ofstream(kPath, std::ios::app) << "b:2\n";
    ASSERT_TRUE(reader.Next(&line));
    EXPECT_EQ(line, "b:2\n");
    EXPECT_FALSE(reader.Next(&line));
}

TEST(QueueReader, OpensRegularFilesOnly) {
    QueueReader reader;
    EXPECT_FALSE(reader.Open("/tmp/no_such_queue"));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(reader.Open("/tmp"));
    EXPECT_EQ(errno, EISDIR);
    std::filesystem::remove("/tmp/queue_fifo");
    ASSERT_EQ(mkfifo("/tmp/queue_fifo", 0600), 0);
    EXPECT_FALSE(reader.Open("/tmp/queue_fifo"));
}

TEST(QueueReader, KnowsWhereItStandsAndGoesBackThere) {
    FileWrite(kPath, "a:1\nb:22\nc:3\nd:4");
    QueueReader reader;
    ASSERT_TRUE(reader.Open(kPath));
    EXPECT_EQ(reader.offset(), 0);
    std::string_view line;
    ASSERT_TRUE(reader.Next(&line));
    EXPECT_EQ(reader.offset(), 4);
    while (reader.Next(&line))
        continue;
    EXPECT_EQ(reader.offset(), 16);
    EXPECT_EQ(reader.Size(), 16);
    for (int time = 0; time < 2; ++time) {
        reader.Seek(4, 13);
        Texts lines;
        while (reader.Next(&line))
            lines.emplace_back(line);
        EXPECT_EQ(lines, (Texts{"b:22\n", "c:3\n"})) << "and nothing behind";
    }
    reader.Seek(13);
    EXPECT_TRUE(reader.More());
    ASSERT_TRUE(reader.Next(&line));
    EXPECT_EQ(line, "d:4");
    EXPECT_FALSE(reader.More());
    std::ofstream(kPath, std::ios::app) << "\n";
    EXPECT_TRUE(reader.More());
    EXPECT_EQ(reader.offset(), 16) << "a look takes nothing";
}

TEST(QueueReader, ALongerLineMayBeAllowed) {
    const std::string line = std::string(kQueueLineMax + 20, 'x') + "\n";
    FileWrite(kPath, line);
    QueueReader reader(line.size());
    ASSERT_TRUE(reader.Open(kPath));
    std::string_view given;
    ASSERT_TRUE(reader.Next(&given));
    EXPECT_EQ(given, line);
}
