// SPDX-License-Identifier: GPL-2.0-or-later
//
// Pictures on their way from a reader, and those that are kept as they come again.
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>

#include "platform/file.h"
#include "tests/unit/reader_pool_fixture.h"

namespace {

std::string BytesOf(const ReadPicture &picture) {
    if (!picture.held.empty())
        return picture.held;
    std::string bytes(picture.bytes, '\0');
    EXPECT_TRUE(FileReadAt(picture.file, 0, bytes.data(), bytes.size()));
    return bytes;
}

} // namespace

TEST_F(ReaderPoolTest, PicturesComeWholeAndLeaveNothing) {
    for (const size_t size : {size_t{12}, size_t{kReaderSmallPictureMax}, size_t{kReaderSmallPictureMax} + 1,
                              size_t{100'000}, size_t{kReaderPictureMax}}) {
        const ReadResult read = Read("picture " + std::to_string(size) + " x");
        ASSERT_EQ(read.answer.picture_bytes, size);
        ASSERT_TRUE(read.picture);
        const std::string bytes = BytesOf(*read.picture);
        ASSERT_EQ(bytes.size(), size);
        for (const size_t at : {size_t{4}, size / 2, size - 1})
            ASSERT_EQ(static_cast<unsigned char>(bytes[at]), static_cast<unsigned char>(at * 7 + size)) << at;
        for (const FdHandle &slot : pool.readers[0].process.slots) {
            struct stat status;
            ASSERT_EQ(fstat(slot.get(), &status), 0);
            EXPECT_EQ(status.st_blocks, 0);
            EXPECT_EQ(status.st_size, kReaderPictureMax);
        }
    }
}

TEST_F(ReaderPoolTest, SlotsNeitherGrowNorShrink) {
    Read("title x");
    const int slot = pool.readers[0].process.slots[0].get();
    EXPECT_NE(ftruncate(slot, kReaderPictureMax + 1), 0);
    EXPECT_NE(ftruncate(slot, 0), 0);
}

// What waits to be taken is bounded: only the first file goes on then.
TEST_F(ReaderPoolTest, NoMoreIsReadAheadThanFits) {
    std::vector<ReadTicket> tickets;
    tickets.push_back(HandOver("silent"));
    pool.bounds.milliseconds = 500;
    for (int i = 0; i < 30; ++i)
        tickets.push_back(HandOver("picture " + std::to_string(3'000'000 + i) + " x"));
    while (!ReaderPoolIsRead(pool, tickets[0])) {
        ReaderPoolServe(&pool, true);
        EXPECT_LT(ReaderPoolBytes(pool), kReaderAheadBytes + 2 * kReaderSlots * 3'100'000);
    }
    for (size_t i = 1; i < tickets.size(); ++i)
        EXPECT_EQ(Take(tickets[i]).answer.picture_bytes, 3'000'000u + i - 1);
}

TEST_F(ReaderPoolTest, APictureThatIsTheSameIsKeptOnce) {
    pool.readers_max = 1;
    const ReadResult first = Read("picture 1000000 x");
    const ReadResult other = Read("picture 1000001 x");
    const ReadResult again = Read("picture 1000000 y");
    EXPECT_FALSE(first.picture_had);
    EXPECT_FALSE(other.picture_had);
    EXPECT_TRUE(again.picture_had);
    EXPECT_EQ(again.picture, first.picture);
    EXPECT_NE(other.picture, first.picture);
}

TEST_F(ReaderPoolTest, OneThatDiffersInItsLastByteIsAnotherPicture) {
    for (const std::string size : {"1000000", "1000"}) {
        const ReadResult first = Read("picture " + size + " x");
        const ReadResult other = Read("altered " + size + " x");
        ASSERT_EQ(other.answer.picture_bytes, first.answer.picture_bytes);
        EXPECT_FALSE(other.picture_had);
        EXPECT_NE(other.picture, first.picture);
        EXPECT_TRUE(Read("altered " + size + " x").picture_had);
    }
}

// Small ones are held as they came while little waits; behind that each is in a file, and the same one is known either way.
TEST_F(ReaderPoolTest, NoMoreIsHeldThanFits) {
    constexpr size_t kFiles = 2 * kReaderPicturesMax;
    std::vector<ReadTicket> tickets;
    for (size_t i = 0; i < kFiles; ++i)
        tickets.push_back(HandOver("picture " + std::to_string(kReaderSmallPictureMax - i) + " x"));
    while (!std::ranges::all_of(tickets, [&](ReadTicket ticket) { return ReaderPoolIsRead(pool, ticket); }))
        ReaderPoolServe(&pool, true);
    const ReadResult again = Read("picture " + std::to_string(kReaderSmallPictureMax - kFiles + 1) + " x");
    size_t held = 0;
    for (size_t i = 0; i < kFiles; ++i) {
        const ReadResult read = Take(tickets[i]);
        ASSERT_TRUE(read.picture);
        EXPECT_EQ(read.picture->held.empty(), static_cast<bool>(read.picture->file));
        EXPECT_EQ(BytesOf(*read.picture).size(), kReaderSmallPictureMax - i);
        held += read.picture->held.size();
    }
    EXPECT_GT(held, kReaderHeldBytes / 4);
    EXPECT_LE(held, kReaderHeldBytes);
    EXPECT_TRUE(again.picture_had);
    EXPECT_TRUE(again.picture->held.empty());
    EXPECT_FALSE(Read("picture 1000 x").picture->held.empty()) << "nothing waits any more";
}

TEST_F(ReaderPoolTest, NoMorePicturesAreKeptThanFit) {
    for (int i = 0; i < 10; ++i) {
        Read("picture " + std::to_string(1'000'000 + i) + " x");
        EXPECT_LE(pool.recent.bytes, kReaderPicturesBytes);
    }
    EXPECT_EQ(pool.recent.pictures.size(), kReaderPicturesBytes / 1'000'000);
    const size_t bytes = pool.recent.bytes;
    EXPECT_TRUE(Read("picture " + std::to_string(kReaderPicturesBytes + 1) + " x").picture);
    EXPECT_EQ(pool.recent.bytes, bytes) << "it is kept by nobody but its file";
}

TEST_F(ReaderPoolTest, NorMoreThanAreToBeHeld) {
    for (size_t i = 0; i < kReaderPicturesMax; ++i) {
        Read("picture " + std::to_string(kReaderSmallPictureMax - i) + " x");
        size_t held = 0;
        for (const ReadPictureRef &picture : pool.recent.pictures)
            held += picture->held.size();
        EXPECT_GT(held, 0u);
        EXPECT_LE(held, kReaderHeldBytes);
        EXPECT_EQ(held, pool.recent.bytes);
    }
    EXPECT_EQ(pool.recent.pictures.size(), kReaderHeldBytes / kReaderSmallPictureMax);
}

TEST_F(ReaderPoolTest, NorMoreThanAreSoonCompared) {
    for (size_t i = 0; i < kReaderPicturesMax + 2; ++i)
        Read("picture " + std::to_string(1000 + i) + " x");
    EXPECT_EQ(pool.recent.pictures.size(), kReaderPicturesMax);
    EXPECT_TRUE(Read("picture " + std::to_string(1000 + 2) + " x").picture_had);
    EXPECT_FALSE(Read("picture 1000 x").picture_had);
}

// Each counts for what it is when the same one comes thirty times: they are all read ahead.
TEST_F(ReaderPoolTest, TheSamePictureTakesNoMoreMemory) {
    for (int i = 0; i < 30; ++i)
        HandOver("picture 3000000 x");
    ReadTicket last = HandOver("title x");
    while (!ReaderPoolIsRead(pool, last))
        ReaderPoolServe(&pool, true);
    EXPECT_LT(ReaderPoolBytes(pool), 2 * 3'100'000u);
}

TEST_F(ReaderPoolTest, APictureForWhichThisProcessHasNoDescriptorIsNotTheFilesFault) {
    Read("title x"); // a reader is there
    const ReadTicket ticket = HandOver("picture 100000 x");
    ReaderPoolServe(&pool, false); // it has the file
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const FdHandle next(open("/dev/null", O_RDONLY | O_CLOEXEC));
    const rlimit none = {static_cast<rlim_t>(next.get()), before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    while (!ReaderPoolIsRead(pool, ticket))
        ReaderPoolServe(&pool, true);
    const ReadResult read = ReaderPoolTake(&pool, ticket);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(read.end, ReadEnd::no_reader);
    EXPECT_EQ(read.reason, strerror(EMFILE));
    EXPECT_EQ(Read("picture 100000 x").answer.picture_bytes, 100'000u);
}
