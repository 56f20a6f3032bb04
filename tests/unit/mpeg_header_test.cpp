// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/mpeg_header.h"

#include "log_catcher.h"
#include "mp3_bytes.h"
#include "mpeg_header_reference.h"

#include <string.h>
#include <time.h>

#include <algorithm>
#include <cmath>

using namespace mp3_bytes;
using namespace mpeg_header_reference;

namespace {

// --- A source with a window so small that every search meets its edges.

struct SmallReader {
    const std::string &bytes;
    size_t window_size;
    int64_t start = 0;
    std::vector<uint8_t> held = {};
    int64_t loads = 0;
};

std::span<const uint8_t> SmallWindow(void *reader, int64_t pos, size_t least) {
    auto *small = static_cast<SmallReader *>(reader);
    const auto size = static_cast<int64_t>(small->bytes.size());
    if (pos < 0 || pos >= size)
        return {};
    const int64_t wanted = std::min(static_cast<int64_t>(least), size - pos);
    if (pos < small->start || pos + wanted > small->start + static_cast<int64_t>(small->held.size())) {
        const auto count = static_cast<size_t>(
            std::min<int64_t>(std::max(static_cast<int64_t>(small->window_size), wanted), size - pos));
        const auto *from = reinterpret_cast<const uint8_t *>(small->bytes.data()) + pos;
        // New memory each time: what was given out before must not be used any more.
        small->held = std::vector<uint8_t>(from, from + count);
        small->start = pos;
        ++small->loads;
    }
    return std::span<const uint8_t>(small->held).subspan(static_cast<size_t>(pos - small->start));
}

int64_t SmallNextData(void *reader, int64_t pos) {
    const auto *small = static_cast<const SmallReader *>(reader);
    const auto size = static_cast<int64_t>(small->bytes.size());
    while (pos < size && small->bytes[static_cast<size_t>(pos)] == '\0')
        ++pos;
    return pos;
}

void ExpectLikeReference(const std::string &bytes, int64_t size, size_t window, int64_t start) {
    LogTake();
    HeaderReference reference{bytes, size};
    SmallReader small{bytes, window};
    const ByteSource source = {&small, size, SmallWindow, SmallNextData};

    for (int64_t pos = std::max<int64_t>(0, start - 3); pos < start + 3; ++pos)
        ASSERT_EQ(MpegHeaderCheck(&source, pos), reference.Check(pos));

    int64_t expected_pos = start;
    int64_t pos = start;
    MpegHeaderInfo expected;
    MpegHeaderInfo info;
    ASSERT_EQ(MpegHeaderFind(&source, &pos, &info), reference.Find(&expected_pos, &expected));
    ASSERT_EQ(pos, expected_pos);
    ASSERT_TRUE(SameInfo(info, expected));
    ASSERT_EQ(LogTake().size(), reference.not_found);

    for (FrameGap gap : {FrameGap::none, FrameGap::zeros}) {
        expected_pos = pos = start;
        expected = info = {};
        reference.not_found = 0;
        const int found = reference.Search(&expected_pos, &expected, gap);
        ASSERT_EQ(MpegFrameSearch(&source, &pos, &info, gap), found);
        if (found != 0) {
            ASSERT_EQ(pos, expected_pos);
            ASSERT_TRUE(SameInfo(info, expected));
        } else {
            ASSERT_TRUE(SameRates(info, expected));
        }
        ASSERT_EQ(LogTake().size(), reference.not_found);
    }
}

// Short frames with gaps, of zeros for the most part, some broken.
std::string Streams(Random *random) {
    std::string bytes(static_cast<size_t>(random->Below(30)), static_cast<char>(random->Below(2) * 'x'));
    const int count = 1 + random->Below(12);
    for (int i = 0; i < count; ++i) {
        std::string head = "\xFF\xF3\x10\xC0"s; // 8 kbit/s, 22050 Hz: 26 bytes
        switch (random->Below(4)) {
        case 0:
            head = "\xFF\xF3\x14\xC0"s; // 24000 Hz: 24 bytes
            break;
        case 1:
            head[2] = static_cast<char>(random->Below(256));
            break;
        case 2:
            head[1] = static_cast<char>(0xE0 + random->Below(32));
            break;
        default:
            break;
        }
        bytes += head;
        bytes.append(static_cast<size_t>(20 + random->Below(4)), random->Below(3) == 0 ? '\xFF' : '\0');
        if (random->Below(3) == 0)
            bytes.append(static_cast<size_t>(random->Below(60)), '\0');
    }
    return bytes;
}

TEST(MpegHeaderReference, HostileBytes) {
    Random random(1);
    for (int i = 0; i < 6000; ++i) {
        std::string bytes = Hostile(&random, static_cast<size_t>(random.Below(600)));
        const auto size = static_cast<int64_t>(bytes.size());
        if (random.Below(4) == 0) // an ID3v1 tag, which searches leave out
            bytes += "TAG" + Hostile(&random, 125);
        ExpectLikeReference(bytes, size, static_cast<size_t>(1 + random.Below(90)), random.Below(20));
        ASSERT_FALSE(HasFatalFailure()) << "round " << i;
    }
}

TEST(MpegHeaderReference, FramesWithGaps) {
    Random random(2);
    for (int i = 0; i < 6000; ++i) {
        const std::string bytes = Streams(&random);
        ExpectLikeReference(bytes, static_cast<int64_t>(bytes.size()),
                            static_cast<size_t>(1 + random.Below(90)), random.Below(8));
        ASSERT_FALSE(HasFatalFailure()) << "round " << i;
    }
}

// Through the reader of MP3 files, with candidates on both sides of the edges of its windows.
TEST(MpegHeaderReference, AroundTheWindowsOfTheMp3Reader) {
    Random random(3);
    for (int i = 0; i < 300; ++i) {
        std::string bytes(kReaderWindow - static_cast<size_t>(random.Below(700)), '\xFF');
        bytes += Hostile(&random, static_cast<size_t>(random.Below(1400)));
        bytes += Streams(&random);
        Opened file(bytes);
        const ByteSource source = Mp3Source(&file.ctx);
        HeaderReference reference{bytes, source.size};
        int64_t pos = 0;
        int64_t expected_pos = 0;
        MpegHeaderInfo info;
        MpegHeaderInfo expected;
        const int found = reference.Search(&expected_pos, &expected, FrameGap::none);
        ASSERT_EQ(MpegFrameSearch(&source, &pos, &info, FrameGap::none), found) << i;
        if (found != 0) {
            ASSERT_EQ(pos, expected_pos) << i;
            ASSERT_TRUE(SameInfo(info, expected)) << i;
        }
    }
}

// Every header there is: 21 bits behind the sync.
TEST(MpegHeaderReference, EveryHeader) {
    std::string bytes(40, 'a');
    HeaderReference reference{bytes, 40};
    SmallReader small{bytes, 40};
    const ByteSource source = {&small, 40, SmallWindow, SmallNextData};
    for (uint32_t code = 0; code < 1u << 21; code += 1 + (code & 0x40) / 0x40 * 6) {
        bytes.replace(0, 4, Big32(0xFFE00000u | code));
        small.held.clear();
        MpegHeaderInfo info;
        MpegHeaderInfo expected;
        int64_t pos = 0;
        int64_t expected_pos = 0;
        ASSERT_EQ(MpegHeaderFind(&source, &pos, &info), reference.Find(&expected_pos, &expected)) << code;
        ASSERT_TRUE(SameInfo(info, expected)) << code;
        ASSERT_EQ(MpegHeaderCheck(&source, 0), reference.Check(0)) << code;
    }
}

// --- Cases by name

struct Found {
    int result;
    int64_t pos;
    MpegHeaderInfo info;
};

Found Find(const std::string &bytes, int64_t from = 0) {
    Opened file(bytes);
    const ByteSource source = Mp3Source(&file.ctx);
    Found found = {0, from, {}};
    found.result = MpegHeaderFind(&source, &found.pos, &found.info);
    return found;
}

TEST(MpegHeader, Mpeg1Layer3) {
    const Found found = Find("xx" + Frame());
    EXPECT_EQ(found.result, 1);
    EXPECT_EQ(found.pos, 2);
    EXPECT_EQ(found.info.version, 1);
    EXPECT_EQ(found.info.layer, 3);
    EXPECT_EQ(found.info.bit_rate, 128000);
    EXPECT_EQ(found.info.byte_rate, 16000);
    EXPECT_EQ(found.info.sample_rate, 44100);
    EXPECT_EQ(found.info.frame_size, kFrameSize);
    EXPECT_EQ(found.info.header_pos, 2);
    EXPECT_EQ(found.info.mode_extension, -1);
    EXPECT_DOUBLE_EQ(found.info.duration, 419.0 / 128 * 0.008);
}

TEST(MpegHeader, Mpeg2Layer2CountsLikeLayer3) {
    EXPECT_EQ(Find("\xFF\xF5\x80\x00"s + std::string(20, 'a')).info.frame_size, 64 * 72000 / 22050);
}

TEST(MpegHeader, JointStereoHasAModeExtension) {
    const Found found = Find("\xFF\xFB\x90\x6F"s + std::string(20, 'a'));
    EXPECT_EQ(found.info.channel_mode, 1);
    EXPECT_EQ(found.info.mode_extension, 2);
    EXPECT_EQ(found.info.copyright, 1);
    EXPECT_EQ(found.info.original, 1);
    EXPECT_EQ(found.info.emphasis, 3);
}

TEST(MpegHeader, Mpeg25IsRejectedAndKeepsThePosition) {
    const Found found = Find("x\xFF\xE3\x90\x00"s + std::string(20, 'a'));
    EXPECT_EQ(found.result, 0);
    EXPECT_EQ(found.pos, 1);
    EXPECT_EQ(found.info.version, 3);
    EXPECT_EQ(Find("\xFF\xEB\x90\x00"s + std::string(20, 'a')).result, 0);
}

TEST(MpegHeader, ReservedValuesAreRejected) {
    const Found layer = Find("\xFF\xF9\x90\x00"s + std::string(20, 'a'));
    EXPECT_EQ(layer.result, 0);
    EXPECT_EQ(layer.info.layer, -1);
    EXPECT_EQ(Find("\xFF\xFB\x9C\x00"s + std::string(20, 'a')).result, 0);
    EXPECT_EQ(Find("\xFF\xFB\xF0\x00"s + std::string(20, 'a')).result, 0);
}

TEST(MpegHeader, FreeFormatIsNoHeaderToFindButOneToCheck) {
    const std::string bytes = "\xFF\xFB\x00\x00"s + std::string(20, 'a');
    EXPECT_EQ(Find(bytes).result, 0);
    Opened file(bytes);
    const ByteSource source = Mp3Source(&file.ctx);
    EXPECT_EQ(MpegHeaderCheck(&source, 0), 0);
    EXPECT_EQ(MpegHeaderCheck(&source, 1), -1);
}

TEST(MpegHeader, FreeFormatWithPaddingHasNoFiniteDuration) {
    const Found found = Find("\xFF\xFB\x02\x00"s + std::string(20, 'a'));
    EXPECT_EQ(found.result, 1);
    EXPECT_EQ(found.info.frame_size, 1);
    EXPECT_TRUE(std::isinf(found.info.duration));
}

TEST(MpegHeader, LastPositionIsElevenBytesBeforeTheEnd) {
    EXPECT_EQ(Find("x" + kHeader + std::string(7, 'a')).result, 1);
    const Found late = Find("x" + kHeader + std::string(6, 'a'));
    EXPECT_EQ(late.result, 0);
    EXPECT_EQ(late.pos, 1);
}

TEST(MpegHeader, CheckAtTheEndTakesFillerForHeaderBytes) {
    Opened file("aa\xFF\xFB"s); // 17 17: 32 kbit/s, 44100 Hz
    const ByteSource source = Mp3Source(&file.ctx);
    EXPECT_EQ(MpegHeaderCheck(&source, 2), 0);
    EXPECT_EQ(MpegHeaderCheck(&source, 3), -1);
    EXPECT_EQ(MpegHeaderCheck(&source, 4), -1);
    EXPECT_EQ(MpegHeaderCheck(&source, INT64_C(1) << 60), -1);
}

TEST(MpegHeader, MissingArguments) {
    LogCatcher log;
    Opened file(Frame());
    const ByteSource source = Mp3Source(&file.ctx);
    int64_t pos = 0;
    MpegHeaderInfo info;
    EXPECT_EQ(MpegHeaderFind(nullptr, &pos, &info), 0);
    EXPECT_NE(log.Next().find(") Bad parameter."), std::string::npos);
    EXPECT_EQ(MpegHeaderFind(&source, nullptr, &info), 0);
    EXPECT_NE(log.Next().find(") Bad parameter."), std::string::npos);
    EXPECT_EQ(MpegHeaderFind(&source, &pos, nullptr), 0);
    EXPECT_NE(log.Next().find(") Bad parameter."), std::string::npos);
    EXPECT_EQ(MpegHeaderCheck(nullptr, 0), -1);
    EXPECT_TRUE(log.Quiet());
}

TEST(MpegHeader, OnlyASearchWithoutAnyCandidateIsLogged) {
    LogCatcher log;
    Find("\xFF\xE3\x90\x00"s + std::string(20, 'a'));
    EXPECT_TRUE(log.Quiet());
    Find(std::string(30, 'a'));
    EXPECT_NE(log.Next().find("metaid3.c ("), std::string::npos);

    // A search over rejected candidates logs once, when it has come to the end.
    Opened file("\xFF\xE3\x90\x00"s + std::string(20, 'a') + "\xFF\xE3\x90\x00"s + std::string(20, 'a'));
    const ByteSource source = Mp3Source(&file.ctx);
    int64_t pos = 0;
    MpegHeaderInfo info;
    EXPECT_EQ(MpegFrameSearch(&source, &pos, &info, FrameGap::none), 0);
    EXPECT_NE(log.Next().find(") MPEG Header not found"), std::string::npos);
    EXPECT_TRUE(log.Quiet());

    // One that stands at the last place has been found.
    Opened last(std::string(20, 'a') + "\xFF\xFB\xF0\x00"s + std::string(7, 'a'));
    const ByteSource last_source = Mp3Source(&last.ctx);
    pos = 0;
    EXPECT_EQ(MpegFrameSearch(&last_source, &pos, &info, FrameGap::none), 0);
    EXPECT_TRUE(log.Quiet());
}

TEST(MpegFrameSearch, GarbageBehindTheFirstFrameMovesOnByOne) {
    Opened file(Frame() + "garbage" + Frames(2));
    const ByteSource source = Mp3Source(&file.ctx);
    int64_t pos = 0;
    MpegHeaderInfo info;
    ASSERT_EQ(MpegFrameSearch(&source, &pos, &info, FrameGap::none), 1);
    EXPECT_EQ(pos, kFrameSize + 7);
}

TEST(MpegFrameSearch, ZerosBetweenFramesCountOnlyWhereAsked) {
    Opened file(Frame() + std::string(100, '\0') + Frame() + Frames(2));
    const ByteSource source = Mp3Source(&file.ctx);
    int64_t pos = 0;
    MpegHeaderInfo info;
    ASSERT_EQ(MpegFrameSearch(&source, &pos, &info, FrameGap::zeros), 1);
    EXPECT_EQ(pos, 0);
    ASSERT_EQ(MpegFrameSearch(&source, &pos, &info, FrameGap::none), 1);
    EXPECT_EQ(pos, kFrameSize + 100);
}

// Loads of windows tell how often the run was looked at.
TEST(MpegFrameSearch, ALongRunIsScannedOnceHoweverManyFramesEndInIt) {
    std::string bytes;
    for (int i = 0; i < 100; ++i) { // every one ends in the run, the later ones before the earlier
        bytes += i % 2 == 0 ? "\xFF\xFB\xE0\x00"s : "\xFF\xFB\xA0\x00"s;
    }
    bytes.append(600, 'a');
    bytes.append(1 << 20, '\0');
    bytes.append(20, 'a');
    SmallReader small{bytes, 4096};
    const ByteSource source = {&small, static_cast<int64_t>(bytes.size()), SmallWindow,
                               [](void *, int64_t pos) { return pos; }};
    int64_t pos = 0;
    MpegHeaderInfo info;
    EXPECT_EQ(MpegFrameSearch(&source, &pos, &info, FrameGap::zeros), 0);
    // Twice over the file: once for the run, once in search of candidates.
    EXPECT_LE(small.loads, 2 * (1 << 20) / 4096 + 220);
}

// A frame that ends behind all positions there are.
TEST(MpegFrameSearch, AFrameAtTheEndOfTheLargestFile) {
    const ByteSource source = {nullptr, kReaderFileMax,
                               [](void *, int64_t pos, size_t) -> std::span<const uint8_t> {
                                   static const uint8_t kBytes[] = {0xFF, 0xFB, 0x90, 0x00};
                                   if (pos < 0 || pos >= kReaderFileMax)
                                       return {};
                                   return kBytes;
                               },
                               [](void *, int64_t pos) { return pos; }};
    int64_t pos = kReaderFileMax - 11;
    MpegHeaderInfo info;
    EXPECT_EQ(MpegFrameSearch(&source, &pos, &info, FrameGap::none), 0);
    EXPECT_EQ(info.header_pos, kReaderFileMax - 11);
}

TEST(MpegFrameSearch, AHugeSparseFileCostsNothing) {
    char name[] = "/tmp/sparse.XXXXXX";
    FdHandle file(mkstemp(name));
    ASSERT_TRUE(file);
    unlink(name);
    const std::string frame = Frame();
    ASSERT_EQ(write(file.get(), frame.data(), frame.size()), kFrameSize);
    int64_t size = INT64_C(1) << 50;
    while (size > 0 && ftruncate(file.get(), size) != 0)
        size /= 2;
    ASSERT_GT(size, INT64_C(1) << 40);
    Mp3FileCtx ctx;
    Mp3FileAttach(&ctx, std::move(file), size);
    const ByteSource source = Mp3Source(&ctx);
    for (FrameGap gap : {FrameGap::none, FrameGap::zeros}) {
        int64_t pos = 0;
        MpegHeaderInfo info;
        const clock_t begin = clock();
        EXPECT_EQ(MpegFrameSearch(&source, &pos, &info, gap), 0);
        EXPECT_LT(clock() - begin, 2 * CLOCKS_PER_SEC);
    }
}

} // namespace
