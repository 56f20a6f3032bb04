// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/mpeg_header.h"

#include "log_catcher.h"
#include "mp3_bytes.h"

#include <string.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <random>

using namespace mp3_bytes;

namespace {

// --- The search as the rules of the format give it, a byte at a time: what the fast one is compared with.

struct Reference {
    const std::string &bytes;
    int64_t size; // as in ByteSource
    int not_found = 0;

    [[nodiscard]] int At(int64_t pos) const {
        if (pos < 0 || pos >= static_cast<int64_t>(bytes.size()))
            return 17;
        return static_cast<uint8_t>(bytes[static_cast<size_t>(pos)]);
    }

    // 0 no sync, 1 sync, 2 sync of MPEG-2.5
    [[nodiscard]] int Sync(int64_t pos) const {
        if (At(pos) != 0xFF)
            return 0;
        if ((At(pos + 1) & 0xF0) == 0xF0)
            return 1;
        return (At(pos + 1) & 0xE0) == 0xE0 ? 2 : 0;
    }

    bool Decode(int64_t pos, int sync, MpegHeaderInfo *info) const {
        static const int rates_1_1[] = {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448};
        static const int rates_1_2[] = {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384};
        static const int rates_1_3[] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
        static const int rates_2_1[] = {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256};
        static const int rates_2_x[] = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
        info->header_pos = pos;
        const int b1 = At(pos + 1);
        const int b2 = At(pos + 2);
        const int b3 = At(pos + 3);
        if (b1 & 0x08) {
            if (sync == 2)
                return false;
            info->version = 1;
        } else if (sync == 2) {
            info->version = 3;
        } else {
            info->version = 2;
        }
        switch ((b1 & 0x06) >> 1) {
        case 0:
            info->layer = -1;
            return false;
        case 1:
            info->layer = 3;
            break;
        case 2:
            info->layer = 2;
            break;
        case 3:
            info->layer = 1;
            break;
        }
        info->is_protected = (b1 & 1) ? 0 : 1;
        const int rate_index = b2 >> 4;
        const int sample_index = (b2 & 0x0F) >> 2;
        if (sample_index == 3 || rate_index == 15)
            return false;
        const int *rates = rates_2_x;
        if (info->version == 1)
            rates = info->layer == 1 ? rates_1_1 : info->layer == 2 ? rates_1_2 : rates_1_3;
        else if (info->layer == 1)
            rates = rates_2_1;
        const int kbps = rates[rate_index];
        static const int samples[] = {44100, 48000, 32000, 22050, 24000, 16000, 11025, 12000, 8000};
        info->bit_rate = kbps;
        info->sample_rate = samples[(info->version - 1) * 3 + sample_index];
        info->byte_rate = static_cast<float>(kbps * 1000 / 8.0);
        info->padding = (b2 & 2) ? 1 : 0;
        info->channel_mode = b3 >> 6;
        info->mode_extension = info->channel_mode == 1 ? (b3 >> 4) & 3 : -1;
        info->copyright = (b3 & 8) ? 1 : 0;
        info->original = (b3 & 4) ? 1 : 0;
        info->emphasis = b3 & 3;
        if (info->version == 1 && info->layer == 1)
            info->frame_size = static_cast<int>(kbps * 48000.0) / info->sample_rate + 4 * info->padding;
        else if (info->version == 1)
            info->frame_size = static_cast<int>(kbps * 144000.0) / info->sample_rate + info->padding;
        else if (info->version == 2 && info->layer == 1)
            info->frame_size = static_cast<int>(kbps * 24000.0) / info->sample_rate + 4 * info->padding;
        else if (info->version == 2)
            info->frame_size = static_cast<int>(kbps * 72000.0) / info->sample_rate + info->padding;
        else
            return false;
        return true;
    }

    int Find(int64_t *pos, MpegHeaderInfo *info) {
        int sync = 0;
        while (*pos < size - 10) {
            sync = Sync(*pos);
            if (sync != 0)
                break;
            *pos += 1;
        }
        if (sync == 0) {
            ++not_found;
            return 0;
        }
        if (!Decode(*pos, sync, info))
            return 0;
        if (info->frame_size == 0)
            return 0;
        const volatile double kbps = info->bit_rate;
        info->duration = static_cast<double>(size) / kbps * 0.008;
        info->bit_rate *= 1000;
        return 1;
    }

    [[nodiscard]] int Check(int64_t pos) const {
        MpegHeaderInfo local;
        const int sync = Sync(pos);
        return sync != 0 && Decode(pos, sync, &local) ? 0 : -1;
    }

    int Search(int64_t *pos, MpegHeaderInfo *info, FrameGap gap) {
        while (*pos < size - 10) {
            if (!Find(pos, info)) {
                *pos += 1;
                continue;
            }
            const int64_t next = *pos + info->frame_size;
            int64_t i = 0;
            if (gap == FrameGap::none) {
                while (next + i < size && At(next + i + 1) == 0)
                    ++i;
            } else {
                while (next + i < size && At(next + i) == 0)
                    ++i;
            }
            if (Check(next + i) == 0)
                return 1;
            *pos += 1;
        }
        return 0;
    }
};

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

testing::AssertionResult SameInfo(const MpegHeaderInfo &a, const MpegHeaderInfo &b) {
    const auto fields = [](const MpegHeaderInfo &i) {
        return std::tuple(i.version, i.layer, i.is_protected, i.bit_rate, i.byte_rate, i.sample_rate,
                          i.channel_mode, i.padding, i.mode_extension, i.emphasis, i.copyright, i.original,
                          i.duration, i.frame_size, i.header_pos);
    };
    return fields(a) == fields(b) ? testing::AssertionSuccess()
                                  : testing::AssertionFailure() << "infos differ";
}

// What a search that found nothing leaves behind.
testing::AssertionResult SameRates(const MpegHeaderInfo &a, const MpegHeaderInfo &b) {
    const auto fields = [](const MpegHeaderInfo &i) {
        return std::tuple(i.bit_rate, i.byte_rate, i.sample_rate, i.channel_mode, i.frame_size);
    };
    return fields(a) == fields(b) ? testing::AssertionSuccess()
                                  : testing::AssertionFailure() << "rates differ";
}

void ExpectLikeReference(const std::string &bytes, int64_t size, size_t window, int64_t start) {
    Reference reference{bytes, size};
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

    for (FrameGap gap : {FrameGap::none, FrameGap::zeros}) {
        expected_pos = pos = start;
        expected = info = {};
        const int found = reference.Search(&expected_pos, &expected, gap);
        ASSERT_EQ(MpegFrameSearch(&source, &pos, &info, gap), found);
        if (found != 0) {
            ASSERT_EQ(pos, expected_pos);
            ASSERT_TRUE(SameInfo(info, expected));
        } else {
            ASSERT_TRUE(SameRates(info, expected));
        }
    }
}

class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}
    int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(engine_); }

private:
    std::mt19937 engine_;
};

// Bytes of which most are those that headers and padding are made of.
std::string Hostile(Random *random, size_t size) {
    static const int likely[] = {0xFF, 0xFF, 0xFF, 0xFB, 0xFA, 0xF3, 0xFD, 0xFE, 0xE3, 0xEB, 0xF9,
                                 0x90, 0x10, 0x12, 0x1A, 0x02, 0x00, 0x00, 0x00, 0x00, 0x44, 0xE2};
    const int noise = random->Below(4);
    std::string bytes;
    while (bytes.size() < size) {
        switch (random->Below(40)) {
        case 0:
            bytes.append(static_cast<size_t>(random->Below(200)), '\0');
            break;
        case 1:
            bytes.append(static_cast<size_t>(random->Below(60)), '\xFF');
            break;
        default:
            bytes.push_back(static_cast<char>(
                random->Below(8) < noise ? random->Below(256)
                                         : likely[random->Below(static_cast<int>(std::size(likely)))]));
        }
    }
    bytes.resize(size);
    return bytes;
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
        Reference reference{bytes, source.size};
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
    Reference reference{bytes, 40};
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
