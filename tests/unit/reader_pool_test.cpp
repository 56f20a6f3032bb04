// SPDX-License-Identifier: GPL-2.0-or-later
//
// Readers that answer, and readers that do everything else.
#include "reader/pool/reader_pool.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <new>
#include <random>
#include <set>

#include "platform/clock.h"
#include "platform/file.h"
#include "tests/unit/failing_new.h"
#include "tests/unit/scripted_readers.h"
#include "tests/unit/test_files.h"

namespace {

constexpr ReaderKind kSound = ReaderKind::sound_and_photos;
constexpr ReaderKind kFilms = ReaderKind::films;

class ReaderPoolTest : public testing::Test {
protected:
    ReaderPoolTest() {
        ScriptedReadersUse(&pool);
        pool.readers_max = 2;
    }

    FileToRead File(const std::string &script, ReaderKind kind = kSound) {
        const std::string path = "/tmp/scripts/" + std::to_string(++files);
        FileWrite(path, script);
        FileToRead file;
        file.file = FdHandle(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        file.size = static_cast<int64_t>(script.size());
        file.kind = kind;
        file.wants_picture = true;
        return file;
    }

    ReadTicket HandOver(const std::string &script, ReaderKind kind = kSound) {
        return ReaderPoolHandOver(&pool, File(script, kind));
    }

    ReadResult Take(ReadTicket ticket) {
        while (!ReaderPoolIsRead(pool, ticket))
            ReaderPoolServe(&pool, true);
        return ReaderPoolTake(&pool, ticket);
    }

    ReadResult Read(const std::string &script, ReaderKind kind = kSound) {
        return Take(HandOver(script, kind));
    }

    ReaderPool pool;
    int files = 0;
};

std::string TitleOf(const ReadResult &read) {
    const Fact *title = FactFind(read.answer.facts, FactName::title);
    return read.end == ReadEnd::answered && title != nullptr ? title->text : "(" + read.reason + ")";
}

std::string BytesOf(const ReadPicture &picture) {
    if (!picture.held.empty())
        return picture.held;
    std::string bytes(picture.bytes, '\0');
    EXPECT_TRUE(FileReadAt(picture.file, 0, bytes.data(), bytes.size()));
    return bytes;
}

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

TEST_F(ReaderPoolTest, WithoutAReaderItsFilesAreToldSo) {
    pool.kinds[1].program = "/tmp/readers/none";
    const ReadTicket film = HandOver("film x", kFilms);
    const ReadTicket sent_on = HandOver("film x", kSound);
    const ReadTicket song = HandOver("song x");
    EXPECT_EQ(Take(film).reason, "/tmp/readers/none: No such file or directory");
    EXPECT_EQ(Take(sent_on).end, ReadEnd::no_reader);
    EXPECT_EQ(TitleOf(Take(song)), "x");
    EXPECT_FALSE(pool.kinds[1].unavailable.empty());
    EXPECT_TRUE(pool.kinds[0].unavailable.empty());
    ReaderPoolEnd(&pool);
    EXPECT_TRUE(pool.kinds[1].unavailable.empty());
}

TEST_F(ReaderPoolTest, AReaderThatEndsAtItsStartIsMissing) {
    pool.kinds[0].program = "/usr/bin/false";
    std::vector<ReadTicket> tickets;
    for (int i = 0; i < 10; ++i)
        tickets.push_back(HandOver("title x"));
    for (const ReadTicket ticket : tickets)
        EXPECT_EQ(Take(ticket).reason, "/usr/bin/false: its reader ended with status 1");
    EXPECT_GE(pool.kinds[0].failed_starts, kReaderStartsMax);
    EXPECT_LT(pool.kinds[0].failed_starts,
              kReaderStartsMax + kReadersMax); // those that started with the last
}

TEST_F(ReaderPoolTest, AReaderSaysWhyItCannotStart) {
    const std::pair<const char *, const char *> reasons[] = {
        {"3",
         "it reads nothing without a system call filter, which the kernel does not have or what the daemon "
         "runs in forbids"},
        {"4", "memory ran out when it started"},
        {"127", "a library that it needs cannot be loaded"}};
    for (const auto &[status, reason] : reasons) {
        FileWrite("/tmp/readers/ends", std::string("#!/bin/sh\nexit ") + status + "\n");
        chmod("/tmp/readers/ends", 0755);
        pool.kinds[0].program = "/tmp/readers/ends";
        EXPECT_EQ(Read("title x").reason, std::string("/tmp/readers/ends: ") + reason);
        ReaderPoolEnd(&pool);
    }
}

TEST_F(ReaderPoolTest, AReaderThatIsKilledAtItsStartIsStartedAgain) {
    FileWrite("/tmp/readers/killed", "#!/bin/sh\nkill -9 $$\n");
    chmod("/tmp/readers/killed", 0755);
    pool.kinds[0].program = "/tmp/readers/killed";
    EXPECT_EQ(Read("title x").end, ReadEnd::no_reader);
    EXPECT_EQ(pool.kinds[0].killed_starts, kReaderKilledStartsMax);
    EXPECT_LT(kReaderStartsMax, kReaderKilledStartsMax);
}

TEST_F(ReaderPoolTest, AReaderThatNeverStartsIsMissing) {
    FileWrite("/tmp/readers/sleeper", "#!/bin/sh\nexec sleep 1000\n");
    chmod("/tmp/readers/sleeper", 0755);
    pool.kinds[0].program = "/tmp/readers/sleeper";
    pool.bounds.start_milliseconds = 50;
    EXPECT_EQ(Read("title x").end, ReadEnd::no_reader);
}

TEST_F(ReaderPoolTest, AReaderOfTheOtherKindIsNone) {
    pool.kinds[0].program = pool.kinds[1].program;
    EXPECT_EQ(Read("title x").end, ReadEnd::no_reader);
}

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

TEST_F(ReaderPoolTest, AFileThatIsGivenUpLeavesTheOthers) {
    const ReadTicket one = HandOver("title 1");
    const ReadTicket two = HandOver("title 2");
    ReaderPoolServe(&pool, true);
    ReaderPoolForget(&pool, one);
    ReaderPoolForget(&pool, one);
    EXPECT_EQ(TitleOf(Take(two)), "2");
    EXPECT_FALSE(ReaderPoolIsRead(pool, one));
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

TEST_F(ReaderPoolTest, KilledReadersThatHangLetNoMoreBeStarted) {
    Read("title x");
    ReaderPoolEnd(&pool);
    // Processes that run on stand for those that hang.
    for (size_t i = 0; i < kReaderEndingMax; ++i) {
        ReaderProcess process;
        process.pid = fork();
        if (process.pid == 0) {
            for (;;)
                pause();
        }
        process.alive = FdHandle(open("/dev/null", O_RDONLY | O_CLOEXEC));
        pool.ending.push_back(std::move(process));
    }
    EXPECT_EQ(Read("title x").end, ReadEnd::no_reader);
    ReaderPoolReap(&pool);
    EXPECT_FALSE(pool.ending.empty());
    for (ReaderProcess &process : pool.ending)
        kill(process.pid, SIGKILL);
    const int64_t until = MonotonicMilliseconds() + kReaderEndMilliseconds;
    while (!pool.ending.empty() && MonotonicMilliseconds() < until)
        ReaderPoolReap(&pool);
    EXPECT_TRUE(pool.ending.empty());
    ReaderPoolEnd(&pool);
    EXPECT_EQ(TitleOf(Read("title x")), "x");
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

} // namespace
