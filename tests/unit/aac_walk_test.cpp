// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/aac/aac_walk.h"

#include "tests/unit/aac_bytes.h"
#include "tests/unit/program_output.h"
#include "tests/unit/scratch_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

bool Walk(const std::string &bytes, AacInfo *info) {
    return AacWalk(ScratchFile(bytes).c_str(), info);
}

} // namespace

TEST(AacWalk, FramesAreCounted) {
    AacInfo info;
    ASSERT_TRUE(Walk(Repeated(AdtsFrame(), 10), &info));
    EXPECT_EQ(info.samples, 10240u);
    EXPECT_EQ(info.sample_rate, 44100u);
    EXPECT_EQ(info.channels, 2u);
    EXPECT_EQ(info.bitrate, 34453u); // 1000 bytes in 10240 samples
    ASSERT_TRUE(Walk(Repeated(AdtsFrame(7, 11, 4), 3), &info));
    EXPECT_EQ(info.samples, 3u * 4 * 1024);
    EXPECT_EQ(info.sample_rate, 8000u);
    EXPECT_EQ(info.channels, 8u);
}

TEST(AacWalk, TheScanEndsAtACutFrameOrOtherBytes) {
    AacInfo info;
    ASSERT_TRUE(Walk(Repeated(AdtsFrame(), 3).substr(0, 299), &info));
    EXPECT_EQ(info.samples, 2048u);
    ASSERT_TRUE(Walk(Repeated(AdtsFrame(), 3) + "TAG" + AdtsFrame(), &info));
    EXPECT_EQ(info.samples, 3072u);
    ASSERT_TRUE(Walk(AdtsFrame(), &info));
    EXPECT_EQ(info.samples, 1024u);
    EXPECT_FALSE(Walk(AdtsFrame() + "TAG", &info));
}

TEST(AacWalk, FramesAcrossWindowsAreCounted) {
    AacInfo info;
    ASSERT_TRUE(Walk(Repeated(AdtsFrame(2, 4, 1, 8191), 100), &info));
    EXPECT_EQ(info.samples, 102400u);
    ASSERT_TRUE(Walk(Repeated(AdtsFrame(2, 4, 1, 7), 30000), &info));
    EXPECT_EQ(info.samples, 30000u * 1024);
}

TEST(AacWalk, AnId3TagIsPassed) {
    AacInfo info;
    const std::string body(128, 't');
    EXPECT_TRUE(Walk(std::string("ID3\4\0\0\0\0\1\0", 10) + body + AdtsFrame(), &info));
    EXPECT_TRUE(Walk(std::string("ID3\4\0\x10\0\0\1\0", 10) + body + "3DI4567890" + AdtsFrame(), &info));
    EXPECT_FALSE(Walk(std::string("ID3\4\0\0\x7f\x7f\x7f\x7f", 10) + AdtsFrame(), &info));
    EXPECT_FALSE(Walk("x" + Repeated(AdtsFrame(), 2), &info));
}

TEST(AacWalk, OtherFilesAreRefused) {
    AacInfo info;
    EXPECT_FALSE(Walk("", &info));
    EXPECT_FALSE(Walk("text that is no sound", &info));
    EXPECT_FALSE(Walk(AdtsFrame().substr(0, 6), &info));
    EXPECT_FALSE(Walk(Repeated(AdtsFrame(2, 13), 2), &info));       // reserved rate
    EXPECT_FALSE(Walk(AdtsFrame(2, 4, 1, 6) + AdtsFrame(), &info)); // shorter than its header
    std::string mp3 = Repeated(AdtsFrame(), 2);
    mp3[1] |= 2; // a layer
    EXPECT_FALSE(Walk(mp3, &info));
    EXPECT_FALSE(AacWalk("/tmp", &info));
    EXPECT_FALSE(AacWalk("/dev/zero", &info));
    EXPECT_FALSE(AacWalk("/tmp/none.aac", &info));
}

TEST(AacWalk, ConfigurationZeroAsksTheProgram) {
    AacInfo info;
    std::string frame = AdtsFrame(0);
    const std::string program = ProgramElement();
    frame.replace(7, program.size(), program);
    ASSERT_TRUE(Walk(frame, &info));
    EXPECT_EQ(info.channels, 4u); // a pair, a single one behind, a low-frequency one
    ASSERT_TRUE(Walk(AdtsFrame(0), &info));
    EXPECT_EQ(info.channels, 0u);
    ASSERT_TRUE(Walk(Repeated(AdtsFrame(0, 4, 1, 8), 2), &info));
    EXPECT_EQ(info.channels, 0u);
}

TEST(AacWalk, AChecksumStandsBeforeTheProgram) {
    AacInfo info;
    ASSERT_TRUE(Walk(Repeated(AdtsFrame(2, 4, 1, 100, true), 2), &info));
    EXPECT_EQ(info.samples, 2048u);
    EXPECT_EQ(info.channels, 2u);
    // Two bytes, and two more with each further block for its place.
    for (const uint32_t blocks : {1U, 2U, 4U}) {
        std::string frame = AdtsFrame(0, 4, blocks, 100, true);
        const std::string program = ProgramElement();
        frame.replace(7 + 2 * blocks, program.size(), program);
        ASSERT_TRUE(Walk(frame, &info));
        EXPECT_EQ(info.channels, 4u) << blocks;
    }
    ASSERT_TRUE(Walk(Repeated(AdtsFrame(0, 4, 4, 8, true), 2), &info)) << "no room for the checksum";
    EXPECT_EQ(info.channels, 0u);
}

TEST(AacWalk, AdifGivesItsBitRate) {
    AacInfo info;
    std::string bytes = AdifHeader(128000);
    bytes.resize(160000);
    ASSERT_TRUE(Walk(bytes, &info));
    EXPECT_EQ(info.samples, 441000u);
    EXPECT_EQ(info.bitrate, 128000u);
    EXPECT_EQ(info.channels, 2u);
    ASSERT_TRUE(Walk(AdifHeader(0), &info));
    EXPECT_EQ(info.samples, 0u);
    EXPECT_EQ(info.sample_rate, 44100u);
    EXPECT_FALSE(Walk("ADIF", &info));
}

TEST(AacWalk, AnAdifTimeBeyondAnyIsNone) {
    const ScratchFile file(AdifHeader(1, 0)); // one bit a second, 96 kHz
    ASSERT_EQ(truncate(file.c_str(), int64_t{15} << 40), 0);
    AacInfo info;
    ASSERT_TRUE(AacWalk(file.c_str(), &info));
    EXPECT_EQ(info.samples, 0u);
    EXPECT_EQ(info.sample_rate, 96000u);
    ASSERT_EQ(truncate(file.c_str(), int64_t{8} << 40), 0);
    ASSERT_TRUE(AacWalk(file.c_str(), &info));
    EXPECT_EQ(info.samples, (uint64_t{8} << 40) * 8 * 96000);
}

TEST(AacWalk, FilesOfARealEncoder) {
    for (const auto &[options, rate, channels] :
         {std::tuple{"r=44100", 44100u, 1u}, {"r=22050 -ac 2", 22050u, 2u}, {"r=48000 -ac 6", 48000u, 6u}}) {
        ASSERT_EQ(ProgramRun("ffmpeg -v error -f lavfi -i sine=d=5:" + std::string(options) +
                             " -c:a aac -y /tmp/real.aac")
                      .status,
                  0);
        AacInfo info;
        ASSERT_TRUE(AacWalk("/tmp/real.aac", &info));
        EXPECT_EQ(info.sample_rate, rate);
        EXPECT_EQ(info.channels, channels);
        EXPECT_NEAR(static_cast<double>(info.samples) / info.sample_rate, 5.0, 0.15);
        unlink("/tmp/real.aac");
    }
}
