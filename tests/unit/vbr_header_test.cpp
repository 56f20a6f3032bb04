// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/vbr_header.h"

#include "mp3_bytes.h"

#include <cstring>
#include <random>

using namespace mp3_bytes;

namespace {

MpegHeaderInfo Accepted() {
    MpegHeaderInfo info;
    info.version = 1;
    info.layer = 3;
    info.bit_rate = 128000;
    info.sample_rate = 44100;
    info.duration = 7;
    return info;
}

std::string Xing(uint32_t flags, uint32_t frames, uint32_t bytes) {
    return "Xing" + Big32(flags) + Big32(frames) + Big32(bytes);
}

std::string Vbri(uint32_t bytes, uint32_t frames) {
    return "VBRI" + std::string(6, '\1') + Big32(bytes) + Big32(frames);
}

// The mark at `pos` in a file that is just so long that the search reaches up to `limit`.
std::string At(size_t pos, const std::string &header, size_t limit) {
    std::string bytes(limit * 4, 'a');
    bytes.replace(pos, header.size(), header);
    return bytes;
}

int Read(int (*read)(Mp3FileCtx *, int64_t, MpegHeaderInfo *), const std::string &bytes, MpegHeaderInfo *info,
         int64_t start = 0) {
    Opened file(bytes);
    return read(&file.ctx, start, info);
}

TEST(VbrHeader, XingGivesDurationAndBitRate) {
    MpegHeaderInfo info = Accepted();
    EXPECT_EQ(Read(XingHeaderRead, At(36, Xing(3, 10000, 4000000), 100), &info), 0);
    EXPECT_NEAR(info.duration, 261.2245, 0.0001);
    EXPECT_EQ(info.bit_rate, static_cast<int>(4000000 / (10000.0 * 1152 / 44100) * 8.0));
}

TEST(VbrHeader, XingWithoutByteCountKeepsTheBitRate) {
    MpegHeaderInfo info = Accepted();
    EXPECT_EQ(Read(XingHeaderRead, At(36, Xing(1, 10000, 4000000), 100), &info), 0);
    EXPECT_EQ(info.bit_rate, 128000);
}

TEST(VbrHeader, XingWithoutFrameCountIsNotUsed) {
    MpegHeaderInfo info = Accepted();
    EXPECT_EQ(Read(XingHeaderRead, At(36, Xing(2, 10000, 4000000), 100), &info), -1);
    EXPECT_EQ(info.duration, 7);
    EXPECT_EQ(info.bit_rate, 128000);
}

TEST(VbrHeader, OnlyTheLowByteOfTheFlagsCounts) {
    MpegHeaderInfo info = Accepted();
    EXPECT_EQ(Read(XingHeaderRead, At(36, Xing(0xFFFFFF00, 10000, 1), 100), &info), -1);
}

TEST(VbrHeader, NoFramesLeaveEverything) {
    MpegHeaderInfo info = Accepted();
    EXPECT_EQ(Read(XingHeaderRead, At(36, Xing(3, 0, 4000000), 100), &info), 0);
    EXPECT_EQ(info.duration, 7);
    EXPECT_EQ(info.bit_rate, 128000);
}

TEST(VbrHeader, TwelveHoursAreTooLongButGiveABitRate) {
    // 1152 x 1653750 / 44100 is 43200 exactly.
    MpegHeaderInfo info = Accepted();
    EXPECT_EQ(Read(XingHeaderRead, At(36, Xing(3, 1653750, 4000000), 100), &info), 0);
    EXPECT_EQ(info.duration, 7);
    EXPECT_EQ(info.bit_rate, 740);
    info = Accepted();
    EXPECT_EQ(Read(XingHeaderRead, At(36, Xing(3, 1653749, 4000000), 100), &info), 0);
    EXPECT_NEAR(info.duration, 43199.97, 0.01);
}

TEST(VbrHeader, ABitRateOfZeroIsNotStored) {
    MpegHeaderInfo info = Accepted();
    EXPECT_EQ(Read(XingHeaderRead, At(36, Xing(3, 1000000, 1), 100), &info), 0);
    EXPECT_EQ(info.bit_rate, 128000);
}

TEST(VbrHeader, ABitRateThatNoIntHoldsIsTheLargestOne) {
    MpegHeaderInfo info = Accepted();
    EXPECT_EQ(Read(XingHeaderRead, At(36, Xing(3, 1, 0xFFFFFFFF), 100), &info), 0);
    EXPECT_EQ(info.bit_rate, INT32_MAX);
}

TEST(VbrHeader, VbriGivesDurationAndBitRate) {
    MpegHeaderInfo info = Accepted();
    EXPECT_EQ(Read(VbriHeaderRead, At(36, Vbri(4000000, 10000), 100), &info), 0);
    EXPECT_NEAR(info.duration, 261.2245, 0.0001);
    EXPECT_EQ(info.bit_rate, 122500);
}

TEST(VbrHeader, SamplesPerFrameByVersionAndLayer) {
    const struct {
        int version, layer, samples;
    } cases[] = {{1, 1, 384}, {1, 2, 1152}, {1, 3, 1152}, {2, 1, 384}, {2, 2, 1152}, {2, 3, 576}};
    for (const auto &c : cases) {
        MpegHeaderInfo info = Accepted();
        info.version = c.version;
        info.layer = c.layer;
        EXPECT_EQ(Read(VbriHeaderRead, At(0, Vbri(0, 100), 100), &info), 0);
        EXPECT_DOUBLE_EQ(info.duration, 100.0 * c.samples / 44100);
    }
}

TEST(VbrHeader, IncompleteInfoIsRefused) {
    for (int32_t MpegHeaderInfo::*field : {&MpegHeaderInfo::version, &MpegHeaderInfo::layer,
                                           &MpegHeaderInfo::bit_rate, &MpegHeaderInfo::sample_rate}) {
        MpegHeaderInfo info = Accepted();
        info.*field = 0;
        EXPECT_EQ(Read(XingHeaderRead, At(0, Xing(1, 100, 0), 100), &info), -1);
        EXPECT_EQ(Read(VbriHeaderRead, At(0, Vbri(0, 100), 100), &info), -1);
        EXPECT_EQ(info.duration, 7);
    }
}

TEST(VbrHeader, TheSearchEndsBeforeAQuarterOfTheFile) {
    MpegHeaderInfo info = Accepted();
    EXPECT_EQ(Read(XingHeaderRead, At(99, Xing(1, 100, 0), 100), &info), 0);
    EXPECT_EQ(Read(XingHeaderRead, At(100, Xing(1, 100, 0), 100), &info), -1);
    EXPECT_EQ(Read(XingHeaderRead, At(99, Xing(1, 100, 0), 100) + "abc", &info), 0); // truncating division
    EXPECT_EQ(Read(XingHeaderRead, "Xing", &info), 0);                               // filler has bit 0
    EXPECT_EQ(Read(XingHeaderRead, "Xin", &info), -1);
    EXPECT_EQ(Read(XingHeaderRead, "", &info), -1);
}

TEST(VbrHeader, TheSearchBeginsAtTheStart) {
    MpegHeaderInfo info = Accepted();
    const std::string bytes = At(40, Xing(1, 100, 0), 100);
    EXPECT_EQ(Read(XingHeaderRead, bytes, &info, 40), 0);
    EXPECT_EQ(Read(XingHeaderRead, bytes, &info, 41), -1);
    EXPECT_EQ(Read(XingHeaderRead, bytes, &info, INT64_C(1) << 40), -1);
}

TEST(VbrHeader, TheFirstMarkCounts) {
    MpegHeaderInfo info = Accepted();
    std::string bytes = At(60, Xing(1, 100, 0), 100);
    bytes.replace(20, 8, "Xing\0\0\0\0"s);
    EXPECT_EQ(Read(XingHeaderRead, bytes, &info), -1);
}

// A byte-at-a-time search must agree, wherever the mark lies across the edges of windows.
TEST(VbrHeader, MarksAcrossWindowEdges) {
    for (size_t pos = kReaderWindow - 6; pos < kReaderWindow + 4; ++pos) {
        for (size_t round : {1u, 2u, 3u}) {
            const size_t at = pos + (round - 1) * (kReaderWindow - 3);
            std::string bytes(kReaderWindow * 16, 'X');
            const std::string header = Xing(1, static_cast<uint32_t>(at), 0);
            bytes.replace(at, header.size(), header);
            MpegHeaderInfo info = Accepted();
            ASSERT_EQ(Read(XingHeaderRead, bytes, &info), 0) << at;
            ASSERT_DOUBLE_EQ(info.duration, static_cast<double>(at) * 1152 / 44100);
        }
    }
}

// The search changes its way behind a number of bytes that could begin a mark.
TEST(VbrHeader, MarksBehindAnyNumberOfFalseStarts) {
    for (size_t at = 0; at < 300; ++at) {
        std::string bytes(4096, 'X');
        const std::string header = Xing(1, 100, 0);
        bytes.replace(at, header.size(), header);
        MpegHeaderInfo info = Accepted();
        ASSERT_EQ(Read(XingHeaderRead, bytes, &info), 0) << at;
        ASSERT_DOUBLE_EQ(info.duration, 100.0 * 1152 / 44100) << at;
    }
}

// The second search uses what the first has passed, and must find what it would find by itself.
TEST(VbrHeader, VbriIsFoundBeforeAndBehindAnUnusedXing) {
    const std::string unused = Xing(0, 1, 0);
    for (const size_t xing : {size_t{40}, kReaderWindow + 5}) {
        for (const size_t vbri : {xing - 30, xing + 30, xing + 2 * kReaderWindow}) {
            std::string bytes = At(xing, unused, kReaderWindow * 16);
            const std::string header = Vbri(0, 100);
            bytes.replace(vbri, header.size(), header);
            MpegHeaderInfo info = Accepted();
            const auto both = [](Mp3FileCtx *ctx, int64_t start, MpegHeaderInfo *out) {
                EXPECT_EQ(XingHeaderRead(ctx, start, out), -1);
                return VbriHeaderRead(ctx, start, out);
            };
            EXPECT_EQ(Read(both, bytes, &info), 0) << xing << ' ' << vbri;
            EXPECT_EQ(Read(both, bytes, &info, static_cast<int64_t>(vbri) + 1), -1) << xing << ' ' << vbri;
        }
    }
}

TEST(VbrHeader, TheFirstOfTwoVbriHeadersCounts) {
    std::string bytes = At(10, Vbri(0, 100), 400);
    bytes.replace(50, 18, Vbri(0, 200));
    MpegHeaderInfo info = Accepted();
    EXPECT_EQ(Read(
                  [](Mp3FileCtx *ctx, int64_t start, MpegHeaderInfo *out) {
                      EXPECT_EQ(XingHeaderRead(ctx, start, out), -1);
                      return VbriHeaderRead(ctx, start, out);
                  },
                  bytes, &info),
              0);
    EXPECT_DOUBLE_EQ(info.duration, 100.0 * 1152 / 44100);
}

TEST(VbrHeader, ASparseFileIsSearchedInNoTime) {
    char name[] = "/tmp/sparse.XXXXXX";
    FdHandle file(mkstemp(name));
    ASSERT_TRUE(file);
    unlink(name);
    constexpr int64_t kSize = INT64_C(1) << 42;
    const std::string header = Vbri(0, 100);
    ASSERT_EQ(pwrite(file.get(), header.data(), header.size(), kSize / 5), 18);
    ASSERT_EQ(ftruncate(file.get(), kSize), 0);
    Mp3FileCtx ctx;
    Mp3FileAttach(&ctx, std::move(file), kSize);
    MpegHeaderInfo info = Accepted();
    EXPECT_EQ(XingHeaderRead(&ctx, 0, &info), -1);
    EXPECT_EQ(VbriHeaderRead(&ctx, 0, &info), 0);
}

} // namespace
