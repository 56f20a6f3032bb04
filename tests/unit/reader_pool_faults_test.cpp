// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files whose readers crash, lie, take too much or are killed.
#include <signal.h>

#include <random>

#include "tests/unit/reader_pool_fixture.h"

TEST_F(ReaderPoolTest, AFileThatEndsItsReaderCostsItself) {
    for (const char *fault : {"crash", "abort", "exit 3", "hang"}) {
        pool.bounds.look_milliseconds = 200;
        std::vector<ReadTicket> tickets;
        for (int i = 0; i < 9; ++i)
            tickets.push_back(HandOver(i == 4 ? fault : "title good"));
        for (size_t i = 0; i < tickets.size(); ++i) {
            const ReadResult read = Take(tickets[i]);
            EXPECT_EQ(read.end, i == 4 ? ReadEnd::crashed : ReadEnd::answered) << fault << i << read.reason;
        }
    }
    EXPECT_EQ(Read("crash").reason, "its reader ended by signal 11 (SIGSEGV)");
    EXPECT_EQ(Read("exit 3").reason, "its reader ended with status 3");
    EXPECT_EQ(Read("exit 4").end, ReadEnd::memory) << "that is what it says";
}

// What a reader has answered before it ends counts, whenever its end is noticed.
TEST_F(ReaderPoolTest, FilesAroundThoseThatEndTheirReadersAreAnswered) {
    std::vector<ReadTicket> tickets;
    for (int i = 0; i < 300; ++i)
        tickets.push_back(HandOver(i % 5 == 4 ? "crash" : "title good"));
    for (size_t i = 0; i < tickets.size(); ++i)
        EXPECT_EQ(Take(tickets[i]).end, i % 5 == 4 ? ReadEnd::crashed : ReadEnd::answered) << i;
}

TEST_F(ReaderPoolTest, WhatIsNoAnswerIsNotBelieved) {
    pool.bounds.look_milliseconds = 200;
    for (const char *lie : {"number", "garbage", "empty", "format", "slot", "kind"}) {
        const ReadTicket before = HandOver("title before");
        const ReadTicket told = HandOver(lie);
        const ReadTicket behind = HandOver("title behind");
        EXPECT_EQ(TitleOf(Take(before)), "before");
        EXPECT_EQ(Take(told).end, ReadEnd::crashed) << lie;
        EXPECT_EQ(TitleOf(Take(behind)), "behind");
    }
}

// The second answer stands where that of the next file is due.
TEST_F(ReaderPoolTest, AnsweringTwiceGivesNoOtherFileThatAnswer) {
    pool.readers_max = 1;
    for (int i = 0; i < 5; ++i) {
        const ReadTicket twice = HandOver("twice");
        const ReadTicket behind = HandOver("title behind");
        Take(twice);
        EXPECT_EQ(TitleOf(Take(behind)), "behind");
    }
}

TEST_F(ReaderPoolTest, TooMuchProcessorTime) {
    pool.bounds.processor_milliseconds = 50;
    pool.bounds.look_milliseconds = 20;
    const ReadTicket spins = HandOver("spin");
    const ReadTicket good = HandOver("title good");
    EXPECT_EQ(Take(spins).end, ReadEnd::processor_time);
    EXPECT_EQ(TitleOf(Take(good)), "good");
}

TEST_F(ReaderPoolTest, TooMuchTime) {
    pool.bounds.milliseconds = 100;
    for (const char *script : {"silent", "stop"}) {
        const ReadTicket slow = HandOver(script);
        const ReadTicket good = HandOver("title good");
        EXPECT_EQ(Take(slow).end, ReadEnd::clock);
        EXPECT_EQ(TitleOf(Take(good)), "good");
    }
}

TEST_F(ReaderPoolTest, TooMuchMemory) {
    pool.bounds.resident_bytes = int64_t{20} << 20;
    pool.bounds.look_milliseconds = 20;
    EXPECT_EQ(Read("memory 40").end, ReadEnd::memory);
    EXPECT_EQ(TitleOf(Read("title good")), "good");
}

TEST_F(ReaderPoolTest, TheOrdinaryBounds) {
    const ReaderBounds bounds;
    EXPECT_EQ(bounds.processor_milliseconds, kReaderProcessorMilliseconds);
    EXPECT_EQ(bounds.milliseconds, kReaderMilliseconds);
    EXPECT_EQ(bounds.resident_bytes, kReaderResidentMax);
    EXPECT_EQ(bounds.look_milliseconds, kReaderLookMilliseconds);
    EXPECT_EQ(bounds.start_milliseconds, kReaderStartMilliseconds);
    EXPECT_EQ(bounds.files, kReaderFilesMax);
}

TEST_F(ReaderPoolTest, AReaderKilledBySomebodyElseCostsNoFile) {
    std::mt19937 random(15);
    std::vector<ReadTicket> tickets;
    int killed = 0;
    for (int i = 0; i < 400; ++i)
        tickets.push_back(HandOver("title " + std::to_string(i)));
    for (size_t i = 0; i < tickets.size(); ++i) {
        EXPECT_EQ(TitleOf(Take(tickets[i])), std::to_string(i));
        if (i % 8 == 7 && !pool.readers.empty()) {
            kill(pool.readers[random() % pool.readers.size()].process.pid, SIGKILL);
            ++killed;
        }
    }
    EXPECT_GT(killed, 30);
}

TEST_F(ReaderPoolTest, AFileWhoseReadersAreAlwaysKilledIsGivenUp) {
    const ReadTicket ticket = HandOver("silent");
    int killed = 0;
    while (!ReaderPoolIsRead(pool, ticket)) {
        ReaderPoolServe(&pool, true);
        for (PoolReader &reader : pool.readers)
            if (reader.handed_count > 0 && !reader.hung_up)
                killed += kill(reader.process.pid, SIGKILL) == 0 && reader.handed_count > 0 ? 1 : 0;
    }
    EXPECT_EQ(ReaderPoolTake(&pool, ticket).end, ReadEnd::killed);
    EXPECT_GE(killed, kReaderKillsMax);
    EXPECT_GE(kReaderKillsMax, kReaderCrashesMax);
}
