// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/aac_walk.h"

#include "tests/unit/program_output.h"
#include "tests/unit/scratch_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// Bit fields as text of 0 and 1, packed into bytes.
std::string Bits(std::initializer_list<std::pair<uint32_t, int>> fields) {
    std::string bits;
    for (const auto &[value, size] : fields) {
        for (int i = size - 1; i >= 0; i--)
            bits += (value >> i & 1) != 0 ? '1' : '0';
    }
    bits.resize((bits.size() + 7) / 8 * 8, '0');
    std::string bytes;
    for (size_t i = 0; i < bits.size(); i += 8)
        bytes += static_cast<char>(std::stoi(bits.substr(i, 8), nullptr, 2));
    return bytes;
}

// A frame of 100 bytes: 44100 Hz is index 4.
std::string Frame(uint32_t configuration = 2, uint32_t rate_index = 4, uint32_t blocks = 1,
                  uint32_t length = 100) {
    std::string frame = Bits({{0xFFF, 12},
                              {0, 1},
                              {0, 2},
                              {1, 1},
                              {1, 2},
                              {rate_index, 4},
                              {0, 1},
                              {configuration, 3},
                              {0, 4},
                              {length, 13},
                              {0x7FF, 11},
                              {blocks - 1, 2}});
    frame.resize(length, '\0');
    return frame;
}

// A frame's first element: a program of a pair in front, one channel behind and a low-frequency one.
std::string ProgramElement() {
    return Bits({{5, 3},
                 {0, 4},
                 {1, 2},
                 {4, 4},
                 {1, 4},
                 {0, 4},
                 {1, 4},
                 {1, 2},
                 {0, 3},
                 {0, 4},
                 {0, 3},
                 {1, 1},
                 {0, 4},
                 {0, 1},
                 {0, 4},
                 {0, 4}});
}

std::string Repeat(const std::string &text, int count) {
    std::string all;
    for (int i = 0; i < count; i++)
        all += text;
    return all;
}

bool Walk(const std::string &bytes, AacInfo *info) {
    return AacWalk(ScratchFile(bytes).c_str(), info);
}

} // namespace

TEST(AacWalk, FramesAreCounted) {
    AacInfo info;
    ASSERT_TRUE(Walk(Repeat(Frame(), 10), &info));
    EXPECT_EQ(info.samples, 10240u);
    EXPECT_EQ(info.sample_rate, 44100u);
    EXPECT_EQ(info.channels, 2u);
    EXPECT_EQ(info.bitrate, 34453u); // 1000 bytes in 10240 samples
    ASSERT_TRUE(Walk(Repeat(Frame(7, 11, 4), 3), &info));
    EXPECT_EQ(info.samples, 3u * 4 * 1024);
    EXPECT_EQ(info.sample_rate, 8000u);
    EXPECT_EQ(info.channels, 8u);
}

TEST(AacWalk, TheScanEndsAtACutFrameOrOtherBytes) {
    AacInfo info;
    ASSERT_TRUE(Walk(Repeat(Frame(), 3).substr(0, 299), &info));
    EXPECT_EQ(info.samples, 2048u);
    ASSERT_TRUE(Walk(Repeat(Frame(), 3) + "TAG" + Frame(), &info));
    EXPECT_EQ(info.samples, 3072u);
    ASSERT_TRUE(Walk(Frame(), &info));
    EXPECT_EQ(info.samples, 1024u);
    EXPECT_FALSE(Walk(Frame() + "TAG", &info));
}

TEST(AacWalk, FramesAcrossWindowsAreCounted) {
    AacInfo info;
    ASSERT_TRUE(Walk(Repeat(Frame(2, 4, 1, 8191), 100), &info));
    EXPECT_EQ(info.samples, 102400u);
    ASSERT_TRUE(Walk(Repeat(Frame(2, 4, 1, 7), 30000), &info));
    EXPECT_EQ(info.samples, 30000u * 1024);
}

TEST(AacWalk, AnId3TagIsPassed) {
    AacInfo info;
    const std::string body(128, 't');
    EXPECT_TRUE(Walk(std::string("ID3\4\0\0\0\0\1\0", 10) + body + Frame(), &info));
    EXPECT_TRUE(Walk(std::string("ID3\4\0\x10\0\0\1\0", 10) + body + "3DI4567890" + Frame(), &info));
    EXPECT_FALSE(Walk(std::string("ID3\4\0\0\x7f\x7f\x7f\x7f", 10) + Frame(), &info));
    EXPECT_FALSE(Walk("x" + Repeat(Frame(), 2), &info));
}

TEST(AacWalk, OtherFilesAreRefused) {
    AacInfo info;
    EXPECT_FALSE(Walk("", &info));
    EXPECT_FALSE(Walk("text that is no sound", &info));
    EXPECT_FALSE(Walk(Frame().substr(0, 6), &info));
    EXPECT_FALSE(Walk(Repeat(Frame(2, 13), 2), &info));     // reserved rate
    EXPECT_FALSE(Walk(Frame(2, 4, 1, 6) + Frame(), &info)); // shorter than its header
    std::string mp3 = Repeat(Frame(), 2);
    mp3[1] |= 2; // a layer
    EXPECT_FALSE(Walk(mp3, &info));
    EXPECT_FALSE(AacWalk("/tmp", &info));
    EXPECT_FALSE(AacWalk("/dev/zero", &info));
    EXPECT_FALSE(AacWalk("/tmp/none.aac", &info));
}

TEST(AacWalk, ConfigurationZeroAsksTheProgram) {
    AacInfo info;
    std::string frame = Frame(0);
    const std::string program = ProgramElement();
    frame.replace(7, program.size(), program);
    ASSERT_TRUE(Walk(frame, &info));
    EXPECT_EQ(info.channels, 4u); // a pair, a single one behind, a low-frequency one
    ASSERT_TRUE(Walk(Frame(0), &info));
    EXPECT_EQ(info.channels, 0u);
    ASSERT_TRUE(Walk(Repeat(Frame(0, 4, 1, 8), 2), &info));
    EXPECT_EQ(info.channels, 0u);
}

TEST(AacWalk, AdifGivesItsBitRate) {
    // No copyright id, constant rate: the program begins 4 + 1+1+1+1+23+4+20 bits behind the mark.
    const auto adif = [](uint32_t bitrate) {
        return "ADIF" + Bits({{0, 4},
                              {bitrate, 23},
                              {0, 4},
                              {0, 20},
                              {0, 4},
                              {1, 2},
                              {4, 4},
                              {1, 4},
                              {0, 4},
                              {0, 4},
                              {0, 2},
                              {0, 3},
                              {0, 4},
                              {0, 3},
                              {1, 1},
                              {0, 4}});
    };
    AacInfo info;
    std::string bytes = adif(128000);
    bytes.resize(160000);
    ASSERT_TRUE(Walk(bytes, &info));
    EXPECT_EQ(info.samples, 441000u);
    EXPECT_EQ(info.bitrate, 128000u);
    EXPECT_EQ(info.channels, 2u);
    ASSERT_TRUE(Walk(adif(0), &info));
    EXPECT_EQ(info.samples, 0u);
    EXPECT_EQ(info.sample_rate, 44100u);
    EXPECT_FALSE(Walk("ADIF", &info));
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
