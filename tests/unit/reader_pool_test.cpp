// SPDX-License-Identifier: GPL-2.0-or-later
//
// How files are handed over to readers, and whose answers come back.
#include "reader/pool/reader_pool.h"

#include <algorithm>
#include <map>
#include <new>
#include <set>

#include "tests/unit/failing_new.h"
#include "tests/unit/reader_pool_fixture.h"

TEST_F(ReaderPoolTest, EachFileGetsItsOwnAnswer) {
    std::vector<ReadTicket> tickets;
    for (int i = 0; i < 100; ++i)
        tickets.push_back(HandOver("title " + std::to_string(i)));
    for (int i = 99; i >= 0; --i)
        EXPECT_EQ(TitleOf(Take(tickets[static_cast<size_t>(i)])), std::to_string(i));
    EXPECT_EQ(pool.files.size(), 0u);
    EXPECT_EQ(ReaderPoolBytes(pool), 0u);
}

TEST_F(ReaderPoolTest, AsManyReadersAsAreNeededAndNoMore) {
    Read("title one");
    EXPECT_EQ(pool.readers.size(), 1u);
    std::vector<ReadTicket> tickets;
    for (int i = 0; i < 40; ++i)
        tickets.push_back(HandOver("title x"));
    for (const ReadTicket ticket : tickets) {
        Take(ticket);
        EXPECT_LE(pool.readers.size(), 2u);
    }
    EXPECT_EQ(pool.readers.size(), 2u);
}

// Once it is awake it gets each file at once.
TEST_F(ReaderPoolTest, AReaderIsNotWokenForAFewFilesForWhichNobodyWaits) {
    pool.readers_max = 1;
    Read("title first");
    ASSERT_EQ(pool.readers.size(), 1u);
    for (int i = 1; i < kReaderWakeFiles; ++i) {
        HandOver("silent");
        ReaderPoolServe(&pool, false);
        ASSERT_EQ(pool.readers[0].handed_count, 0) << i;
    }
    const ReadTicket last = HandOver("silent");
    ReaderPoolServe(&pool, false);
    EXPECT_EQ(pool.readers[0].handed_count, std::min(kReaderWakeFiles, kReaderSlots));
    ReaderPoolEnd(&pool);
    ReaderPoolForget(&pool, last);
    Read("title second");
    HandOver("silent");
    pool.bounds.look_milliseconds = 1;
    ReaderPoolServe(&pool, true);
    EXPECT_EQ(pool.readers[0].handed_count, 1) << "somebody waits";
    HandOver("title third");
    ReaderPoolServe(&pool, false);
    EXPECT_EQ(pool.readers[0].handed_count, 2) << "it is awake";
}

TEST_F(ReaderPoolTest, AReaderHasNoMoreFilesThanSlots) {
    std::vector<ReadTicket> tickets;
    for (int i = 0; i < kReaderSlots + 2; ++i)
        tickets.push_back(HandOver("silent"));
    pool.readers_max = 1;
    pool.bounds.milliseconds = pool.bounds.look_milliseconds = 200;
    while (!ReaderPoolIsRead(pool, tickets[0])) {
        ReaderPoolServe(&pool, true);
        ASSERT_LE(pool.readers[0].handed_count, kReaderSlots);
    }
}

TEST_F(ReaderPoolTest, AFileGoesToTheReaderOfItsKind) {
    for (const ReaderKind kind : {kSound, kFilms}) {
        EXPECT_EQ(Read("film F", kind).answer.content, ContentClass::film);
        EXPECT_EQ(Read("song S", kind).answer.content, ContentClass::sound);
        EXPECT_EQ(Read("photo P", kind).answer.content, ContentClass::picture);
    }
}

TEST_F(ReaderPoolTest, OneReaderServesBothKindsInTurn) {
    pool.readers_max = 1;
    std::vector<ReadTicket> tickets;
    for (int i = 0; i < 24; ++i)
        tickets.push_back(HandOver(i % 3 == 0 ? "film x" : "song x"));
    for (const ReadTicket ticket : tickets) {
        EXPECT_EQ(TitleOf(Take(ticket)), "x");
        EXPECT_LE(pool.readers.size(), 1u);
    }
}

TEST_F(ReaderPoolTest, AReaderWithoutWorkGivesWay) {
    Read("film x", kFilms);
    const auto songs = [&](uint32_t count) {
        for (uint32_t i = 0; i < count; i += 8) {
            std::vector<ReadTicket> tickets;
            for (int k = 0; k < 8; ++k)
                tickets.push_back(HandOver("song x"));
            for (const ReadTicket ticket : tickets)
                Take(ticket);
        }
    };
    const auto films = [&] { return std::ranges::count(pool.readers, kFilms, &PoolReader::kind); };
    songs(kReaderIdleFiles - 16);
    EXPECT_EQ(films(), 1);
    songs(64);
    EXPECT_EQ(films(), 0);
    EXPECT_EQ(TitleOf(Read("film back", kFilms)), "back");
}

TEST_F(ReaderPoolTest, APlaceIsMadeForTheKindThatHasNone) {
    std::vector<ReadTicket> tickets;
    std::set<pid_t> started;
    const auto songs = [&](int count) {
        for (int i = 0; i < count; ++i)
            tickets.push_back(HandOver("song x"));
    };
    const auto take_all = [&] {
        for (const ReadTicket ticket : tickets) {
            while (!ReaderPoolIsRead(pool, ticket)) {
                ReaderPoolServe(&pool, true);
                for (const PoolReader &reader : pool.readers)
                    started.insert(reader.process.pid);
            }
            ReaderPoolTake(&pool, ticket);
        }
        tickets.clear();
    };
    songs(64);
    take_all();
    ASSERT_EQ(started.size(), 2u);
    songs(16);
    tickets.push_back(HandOver("film x", kFilms));
    songs(64);
    take_all();
    EXPECT_EQ(started.size(), 3u);
}

TEST_F(ReaderPoolTest, AReaderIsReplacedAfterSoManyFiles) {
    pool.bounds.files = 3;
    pool.readers_max = 1;
    std::map<pid_t, int> answered;
    for (int i = 0; i < 10; ++i) {
        const ReadTicket ticket = HandOver("title x");
        while (!ReaderPoolIsRead(pool, ticket)) {
            ReaderPoolServe(&pool, true);
            if (!pool.readers.empty() && pool.readers[0].handed_count > 0)
                answered[pool.readers[0].process.pid] = pool.readers[0].files;
        }
        EXPECT_EQ(TitleOf(ReaderPoolTake(&pool, ticket)), "x");
    }
    EXPECT_GE(answered.size(), 4u);
    for (const auto &[pid, count] : answered)
        EXPECT_LE(count, 3);
}

TEST_F(ReaderPoolTest, AFileThatIsGivenUpLeavesTheOthers) {
    const ReadTicket one = HandOver("title 1");
    const ReadTicket two = HandOver("title 2");
    ReaderPoolServe(&pool, true);
    ReaderPoolForget(&pool, one);
    ReaderPoolForget(&pool, one);
    EXPECT_EQ(TitleOf(Take(two)), "2");
    EXPECT_FALSE(ReaderPoolIsRead(pool, one));
}

TEST_F(ReaderPoolTest, NothingIsLeftBehind) {
    const size_t before = OpenDescriptors();
    pool.bounds.look_milliseconds = 20;
    for (int round = 0; round < 3; ++round) {
        for (const char *script :
             {"title x", "crash", "picture 5000 x", "number", "silent", "stop", "film x"})
            HandOver(script);
        for (int i = 0; i < 20; ++i)
            ReaderPoolServe(&pool, i % 2 == 0);
        ReaderPoolEnd(&pool);
        EXPECT_EQ(OpenDescriptors(), before);
        EXPECT_TRUE(HasNoChild());
    }
    EXPECT_LT(kReaderEndMilliseconds, kReaderMilliseconds);
}

TEST_F(ReaderPoolTest, WithoutMemoryAllIsGivenUpAndBeginsAnew) {
    const size_t before = OpenDescriptors();
    Read("title x");
    ReaderPoolEnd(&pool);
    bool failed = true;
    for (int number = 1; failed; ++number) {
        std::vector<FileToRead> scripts;
        for (const char *script : {"title 1", "film 2", "picture 500 3", "failed for a reason", "exit 3"})
            scripts.push_back(File(script));
        std::vector<ReadTicket> tickets;
        tickets.reserve(scripts.size());
        NewFailAt(number);
        try {
            for (FileToRead &script : scripts)
                tickets.push_back(ReaderPoolHandOver(&pool, std::move(script)));
            for (const ReadTicket ticket : tickets)
                while (!ReaderPoolIsRead(pool, ticket))
                    ReaderPoolServe(&pool, true);
        } catch (const std::bad_alloc &) {
        }
        failed = NewFailed();
        ReaderPoolEnd(&pool);
        ASSERT_EQ(pool.files.size(), 0u);
        ASSERT_EQ(ReaderPoolBytes(pool), 0u);
    }
    EXPECT_EQ(TitleOf(Read("title again")), "again");
    ReaderPoolEnd(&pool);
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_TRUE(HasNoChild());
}
