// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/mp3_file.h"

#include "log_capture.h"
#include "mp3_bytes.h"

#include <fcntl.h>

using namespace mp3_bytes;

namespace {

constexpr int64_t kWindow = kReaderWindow;

// A file in which each byte tells its position, and is never 17.
std::string Counted(size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(100 + i % 101);
    return bytes;
}

TEST(Mp3File, ReadsEveryByteInAnyDirection) {
    const std::string bytes = Counted(kReaderWindow * 2 + 5);
    Opened file(bytes);
    for (size_t i = 0; i < bytes.size(); ++i)
        ASSERT_EQ(Mp3ReadByte(&file.ctx, static_cast<int64_t>(i)), static_cast<uint8_t>(bytes[i])) << i;
    for (size_t i = bytes.size(); i-- > bytes.size() - 40;)
        ASSERT_EQ(Mp3ReadByte(&file.ctx, static_cast<int64_t>(i)), static_cast<uint8_t>(bytes[i])) << i;
}

TEST(Mp3File, GivesSeventeenOutsideTheFile) {
    Opened file("abc");
    EXPECT_EQ(Mp3ReadByte(&file.ctx, 2), 'c');
    EXPECT_EQ(Mp3ReadByte(&file.ctx, 3), 17);
    EXPECT_EQ(Mp3ReadByte(&file.ctx, -1), 17);
    EXPECT_EQ(Mp3ReadByte(&file.ctx, INT64_MAX), 17);
    EXPECT_EQ(Mp3ReadByte(&file.ctx, INT64_MIN), 17);
    Opened empty("");
    EXPECT_EQ(Mp3ReadByte(&empty.ctx, 0), 17);
}

TEST(Mp3File, MakesNoSystemCallPastTheEnd) {
    Opened file("abc");
    EXPECT_EQ(Mp3ReadByte(&file.ctx, 0), 'a');
    // A read through a closed file would move the end to its position.
    file.ctx.file.Close();
    EXPECT_EQ(Mp3ReadByte(&file.ctx, 3), 17);
    EXPECT_EQ(file.ctx.readable_end, 3);
    EXPECT_EQ(Mp3ReadByte(&file.ctx, 2), 'c');
}

TEST(Mp3File, TakesAPositionThatCannotBeReadForTheEnd) {
    Opened file(Counted(kReaderWindow * 3));
    ASSERT_EQ(ftruncate(file.ctx.file.get(), kWindow), 0);
    EXPECT_EQ(Mp3ReadByte(&file.ctx, kWindow * 2), 17);
    EXPECT_EQ(file.ctx.readable_end, kWindow * 2);
    EXPECT_NE(Mp3ReadByte(&file.ctx, kWindow - 1), 17);
    EXPECT_EQ(Mp3ReadByte(&file.ctx, kWindow), 17);
}

TEST(Mp3File, TheEndOfTheLargestFilesIsOutOfReach) {
    Mp3FileCtx ctx;
    Mp3FileAttach(&ctx, MemoryFile("abc"), kReaderFileMax);
    EXPECT_EQ(ctx.file_size, kReaderFileMax);
    Mp3FileAttach(&ctx, MemoryFile("abc"), kReaderFileMax + 1);
    EXPECT_EQ(ctx.file_size, kReaderFileMax);
    EXPECT_EQ(ctx.readable_end, kReaderFileMax);
    EXPECT_EQ(Mp3ReadByte(&ctx, 2), 'c');
}

// Readers of two modules open with it, each in its own name.
TEST(Mp3File, OpensInTheNameOfTheCaller) {
    const SongFile song("abc");
    Mp3FileCtx ctx;
    LogTake();
    EXPECT_TRUE(Mp3FileOpen(song.path.c_str(), &ctx, "a.c"));
    EXPECT_EQ(ctx.file_size, 3);
    EXPECT_EQ(Mp3ReadByte(&ctx, 2), 'c');
    EXPECT_FALSE(Mp3FileOpen("/volume1/music/none.mp3", &ctx, "a.c", 7));
    ASSERT_EQ(mkfifo("/volume1/music/pipe.mp3", 0644), 0);
    EXPECT_FALSE(Mp3FileOpen("/volume1/music/pipe.mp3", &ctx, "b.c", 8));
    unlink("/volume1/music/pipe.mp3");
    const std::vector<LogLine> lines = LogTake();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].text, "a.c (7) Unable to open /volume1/music/none.mp3 ");
    EXPECT_EQ(lines[1].text, "b.c (8) Unable to seek to end /volume1/music/pipe.mp3 ");
}

TEST(Mp3File, StillReadsBehindTheSizeThatSearchesGoBy) {
    Opened file("abcdef");
    file.ctx.file_size = 3;
    EXPECT_EQ(Mp3ReadByte(&file.ctx, 5), 'f');
    EXPECT_EQ(Mp3Source(&file.ctx).size, 3);
}

TEST(Mp3File, WindowHoldsWhatIsAskedForAcrossItsEdge) {
    const std::string bytes = Counted(kReaderWindow + 100);
    Opened file(bytes);
    ASSERT_EQ(Mp3Window(&file.ctx, 0, 1).size(), kReaderWindow);
    EXPECT_EQ(Mp3Window(&file.ctx, kWindow - 2, 1).size(), 2u);
    const auto bytes_at = Mp3Window(&file.ctx, kWindow - 2, 4);
    EXPECT_EQ(bytes_at.size(), 102u);
    EXPECT_EQ(bytes_at[0], static_cast<uint8_t>(bytes[kReaderWindow - 2]));
    EXPECT_EQ(Mp3Window(&file.ctx, kWindow + 98, 4).size(), 2u);
    EXPECT_TRUE(Mp3Window(&file.ctx, kWindow + 100, 4).empty());
    EXPECT_TRUE(Mp3Window(&file.ctx, -1, 4).empty());
}

TEST(Mp3File, SyncsafeNumbersSpillBitSevenIntoTheNextGroup) {
    Opened file("\x00\x00\x02\x01\xFF\xFF\xFF\xFF"s);
    EXPECT_EQ(Mp3ReadSyncsafe(&file.ctx, 0), 257u);
    EXPECT_EQ(Mp3ReadSyncsafe(&file.ctx, 4), (0xFFu << 21 | 0xFFu << 14 | 0xFFu << 7 | 0xFFu));
    EXPECT_EQ(Mp3ReadSyncsafe(&file.ctx, -1), 17u);
    EXPECT_EQ(Mp3ReadSyncsafe(&file.ctx, 8), (17u << 21 | 17u << 14 | 17u << 7 | 17u));
}

TEST(Mp3File, BigEndianNumbers) {
    Opened file("\xFE\xDC\xBA\x98"s);
    EXPECT_EQ(Mp3ReadBE32(&file.ctx, 0), 0xFEDCBA98u);
    EXPECT_EQ(Mp3ReadBE32(&file.ctx, 2), 0xBA981111u);
    EXPECT_EQ(Mp3ReadBE32(&file.ctx, -4), 17u);
}

TEST(Mp3File, FindZeroStaysInItsRange) {
    std::string bytes(kReaderWindow + 10, 'x');
    bytes[kReaderWindow + 3] = '\0';
    Opened file(bytes);
    EXPECT_EQ(Mp3FindZero(&file.ctx, 0, kWindow + 10), kWindow + 3);
    EXPECT_EQ(Mp3FindZero(&file.ctx, 0, kWindow + 3), kWindow + 3);
    EXPECT_EQ(Mp3FindZero(&file.ctx, kWindow + 4, kWindow + 10), kWindow + 10);
    EXPECT_EQ(Mp3FindZero(&file.ctx, kWindow + 4, INT64_C(1) << 40), INT64_C(1) << 40);
    EXPECT_EQ(Mp3FindZero(&file.ctx, 9, 5), 5);
}

TEST(Mp3File, StepsOverHoles) {
    char name[] = "/tmp/sparse.XXXXXX";
    FdHandle file(mkstemp(name));
    ASSERT_TRUE(file);
    unlink(name);
    constexpr int64_t kData = INT64_C(1) << 32;
    ASSERT_EQ(pwrite(file.get(), "x", 1, kData), 1);
    ASSERT_EQ(ftruncate(file.get(), kData * 2), 0);
    Mp3FileCtx ctx;
    Mp3FileAttach(&ctx, std::move(file), kData * 2);
    const ByteSource source = Mp3Source(&ctx);
    const auto window = source.window(source.reader, 0, 1);
    ASSERT_TRUE(IsAllZero(window));
    EXPECT_EQ(ByteSourceAdvance(source, window, kWindow) & ~INT64_C(0xFFFFF), kData);
    EXPECT_EQ(ByteSourceAdvance(source, window, kData + (1 << 20)), kData * 2);
    const uint8_t bytes[] = {0, 1};
    EXPECT_EQ(ByteSourceAdvance(source, bytes, 2), 2);
}

TEST(Mp3File, FileSystemWithoutHolesHasDataEverywhere) {
    const FdHandle pipe_like(open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(FileNextData(-1, 5, 100), 5);
    EXPECT_LE(FileNextData(pipe_like.get(), 5, 100), 100);
}

} // namespace
