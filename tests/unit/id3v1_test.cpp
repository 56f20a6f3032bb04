// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/id3v1.h"

#include "log_catcher.h"
#include "mp3_bytes.h"

#include <fcntl.h>

using namespace mp3_bytes;

namespace {

std::string Field(std::string text, size_t size, char fill = '\0') {
    text.resize(size, fill);
    return text;
}

std::string Block(const std::string &title, const std::string &comment = "") {
    return Field(title, 30) + Field("artist", 30) + Field("album", 30) + "1999" + Field(comment, 30) + '\x11';
}

TEST(Id3v1, ReadsWhatFollowsTheMark) {
    const std::string audio(300, 'a');
    Opened file(audio + Id3v1(Block("title")));
    Id3v1Block block;
    EXPECT_EQ(Id3v1Read(&file.ctx, &block), 1);
    EXPECT_STREQ(block.bytes + kId3v1Title, "title");
    EXPECT_STREQ(block.bytes + kId3v1Artist, "artist");
    EXPECT_STREQ(block.bytes + kId3v1Album, "album");
    EXPECT_EQ(std::string(block.bytes + kId3v1Year, 4), "1999");
    EXPECT_EQ(block.bytes[kId3v1Genre], 0x11);
    EXPECT_EQ(file.ctx.file_size, 300);
    EXPECT_EQ(file.ctx.readable_end, 428);
}

TEST(Id3v1, FileOfTheTagAlone) {
    Opened file(Id3v1(Block("title")));
    Id3v1Block block;
    EXPECT_EQ(Id3v1Read(&file.ctx, &block), 1);
    EXPECT_EQ(file.ctx.file_size, 0);
}

TEST(Id3v1, FileOfFewerBytesHasNone) {
    for (size_t size : {0u, 1u, 3u, 127u}) {
        Opened file("TAG"s.substr(0, std::min<size_t>(size, 3)) + std::string(size < 3 ? 0 : size - 3, 'x'));
        Id3v1Block block;
        EXPECT_EQ(Id3v1Read(&file.ctx, &block), 0) << size;
        EXPECT_EQ(file.ctx.file_size, static_cast<int64_t>(size));
    }
}

TEST(Id3v1, WithoutTheMarkNothingChanges) {
    Opened file(std::string(200, ' ') + "TAX" + std::string(125, 'x'));
    Id3v1Block block;
    EXPECT_EQ(Id3v1Read(&file.ctx, &block), 0);
    EXPECT_EQ(file.ctx.file_size, 328);
    EXPECT_EQ(block.bytes[0], '\0');
}

TEST(Id3v1, BlankFieldsBecomeEmpty) {
    const std::string blank30(30, ' ');
    Opened file(Id3v1(blank30 + Field("  ", 30) + Field(" b", 30, ' ') + "    " + blank30));
    Id3v1Block block;
    EXPECT_EQ(Id3v1Read(&file.ctx, &block), 1);
    EXPECT_EQ(block.bytes[kId3v1Title], '\0');
    EXPECT_EQ(block.bytes[kId3v1Title + 1], ' '); // only the first byte changes
    EXPECT_EQ(block.bytes[kId3v1Artist], '\0');   // blanks, then a zero byte
    EXPECT_EQ(std::string(block.bytes + kId3v1Album, 30), Field(" b", 30, ' '));
    EXPECT_EQ(block.bytes[kId3v1Year], '\0');
    EXPECT_EQ(block.bytes[kId3v1Comment], '\0');
}

// The mark is still in the window when the file goes bad under it.
TEST(Id3v1, FailureToSeekIsLoggedWithThePosition) {
    LogCatcher log;
    Opened file(std::string(72, 'a') + Id3v1(Block("title")));
    ASSERT_EQ(Mp3ReadByte(&file.ctx, 0), 'a');
    file.ctx.file.Close();
    Id3v1Block block;
    EXPECT_EQ(Id3v1Read(&file.ctx, &block), -1);
    EXPECT_NE(log.Next().find(") Failed to seek to (75)"), std::string::npos);
    EXPECT_EQ(file.ctx.file_size, 200);
}

TEST(Id3v1, ReadOfNothingIsAFailure) {
    LogCatcher log;
    Opened file(Id3v1(Block("title")));
    ASSERT_EQ(Mp3ReadByte(&file.ctx, 0), 'T');
    ASSERT_EQ(ftruncate(file.ctx.file.get(), 0), 0);
    Id3v1Block block;
    EXPECT_EQ(Id3v1Read(&file.ctx, &block), -1);
    EXPECT_NE(log.Next().find("metaid3.c ("), std::string::npos);
    EXPECT_EQ(file.ctx.file_size, 128);
}

} // namespace
