// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/queue/request_line.h"

#include <gtest/gtest.h>

#include "daemon/queue_line.h"
#include "daemon/queue_reader.h"

namespace {

const std::string kLongestPath = "/" + std::string(4094, 'x');

} // namespace

TEST(RequestLine, IsALetterAColonAndThePath) {
    EXPECT_EQ(RequestLineForm(kCommandFileAdd, "/volume1/music/a song.mp3").line,
              "a:/volume1/music/a song.mp3\n");
    EXPECT_EQ(RequestLineForm(kCommandReindex, "all").line, "R:all\n");
}

TEST(RequestLine, CarriesAnyBytesThatALineCan) {
    const std::string path = "/volume1/music/\xFF\x01:\t%s\\.mp3";
    const RequestLine formed = RequestLineForm(kCommandTreeAdd, path);
    EXPECT_EQ(formed.line, "A:" + path + "\n");
    EXPECT_EQ(formed.refusal, "");
}

TEST(RequestLine, RefusesWhatALineCannotCarry) {
    for (const std::string &path :
         {std::string(), std::string("/a\nb"), std::string("/a\0b", 4), kLongestPath + 'x'}) {
        const RequestLine formed = RequestLineForm(kCommandFileAdd, path);
        EXPECT_EQ(formed.line, "") << path;
        EXPECT_NE(formed.refusal, "") << path;
    }
}

TEST(RequestLine, TheLongestPathIsALineThatTheDaemonReadsWhole) {
    const std::string line = RequestLineForm(kCommandTreeAdd, kLongestPath).line;
    ASSERT_LE(line.size(), kQueueLineMax);
    QueueRequest request;
    ASSERT_TRUE(QueueLineParse(std::string_view(line).substr(0, line.size() - 1), request));
    EXPECT_EQ(request.argument, kLongestPath);
}

TEST(RenameLine, IsTheNewPathThenTheOld) {
    const std::string line = RenameLineForm("/volume1/new", "/volume1/old").line;
    EXPECT_EQ(line, "N:/volume1/new:/volume1/old\n");
    QueueRequest request;
    ASSERT_TRUE(QueueLineParse(std::string_view(line).substr(0, line.size() - 1), request));
    EXPECT_EQ(request.argument, "/volume1/new");
    EXPECT_EQ(request.old_path, "/volume1/old");
}

TEST(RenameLine, RefusesAColonInEitherPath) {
    EXPECT_NE(RenameLineForm("/a:b", "/c").refusal, "");
    EXPECT_NE(RenameLineForm("/a", "/c:d").refusal, "");
    EXPECT_EQ(RenameLineForm("/a:b", "/c").line, "");
}

TEST(RenameLine, RefusesTwoPathsThatTogetherAreTooLong) {
    const size_t room = kQueueLineMax - std::string_view("N::\n").size();
    const std::string half = "/" + std::string(room / 2 - 1, 'x');
    EXPECT_EQ(RenameLineForm(half, half).refusal, "") << "at the bound";
    EXPECT_EQ(RenameLineForm(half, half).line.size(), room / 2 * 2 + 4);
    EXPECT_NE(RenameLineForm(half + "yz", half).refusal, "") << "past it";
}

TEST(RenameLine, RefusesANewline) {
    EXPECT_NE(RenameLineForm("/a\n", "/c").refusal, "");
    EXPECT_NE(RenameLineForm("/a", "/c\n").refusal, "");
}
