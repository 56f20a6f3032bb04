// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/indexers.h"

#include "platform/limits.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/program_output.h"
#include "tests/unit/scratch_file.h"
#include "tests/unit/test_files.h"

#include <gtest/gtest.h>
#include <libaiff/libaiff.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
namespace {

using Texts = std::vector<std::string>;
constexpr double kInfinity = HUGE_VAL;

std::string Big(uint64_t value, int size) {
    std::string bytes;
    for (int i = size - 1; i >= 0; i--)
        bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

std::string Chunk(const std::string &type, const std::string &content) {
    return type + Big(content.size(), 4) + content + std::string(content.size() % 2, '\0');
}

std::string Form(const std::string &type, const std::string &chunks) {
    return "FORM" + Big(chunks.size() + 4, 4) + type + chunks;
}

std::string Extended(int head, uint64_t mantissa) {
    return Big(static_cast<uint64_t>(head), 2) + Big(mantissa, 8);
}

// The usual form of a rate: a whole number up to 65535.
std::string Rate(uint64_t hertz) {
    int exponent = 16383 + 63;
    while ((hertz >> 63) == 0) {
        hertz <<= 1;
        exponent--;
    }
    return Extended(exponent, hertz);
}

std::string Comm(uint64_t channels, uint64_t frames, uint64_t bits, const std::string &rate) {
    return Big(channels, 2) + Big(frames, 4) + Big(bits, 2) + rate;
}

const std::string kCdComm = Chunk("COMM", Comm(2, 441000, 16, Rate(44100)));

struct Format {
    bool opened = false;
    uint64_t frames = 0;
    int channels = 0;
    double rate = 0;
    int bits = 0;
    int segment = 0;
};

Format FormatOfFile(const char *path) {
    Format format;
    AIFF_Ref ref = AIFF_OpenFile(path, F_RDONLY);
    if (ref == nullptr)
        return format;
    format.opened = AIFF_GetAudioFormat(ref, &format.frames, &format.channels, &format.rate, &format.bits,
                                        &format.segment) == 1;
    EXPECT_EQ(AIFF_CloseFile(ref), 1);
    return format;
}

Format FormatOf(const std::string &bytes) {
    return FormatOfFile(ScratchFile(bytes).c_str());
}

Format FormatOfRate(const std::string &rate) {
    return FormatOf(Form("AIFF", Chunk("COMM", Comm(1, 1, 8, rate))));
}

Format FormatOfCompression(const std::string &form, const std::string &type) {
    return FormatOf(Form(form, Chunk("COMM", Comm(1, 1, 20, Rate(8000)) + type + std::string(2, '\0'))));
}

class AiffTest : public testing::Test {
protected:
    AiffTest() {
        SandboxReset();
        LogTake();
    }
};

MediaInfo InfoOf(const std::string &path, const std::string &bytes) {
    FileWrite(path, bytes);
    MediaInfo record;
    EXPECT_EQ(AiffInfoGet(path.c_str(), &record), 0);
    return record;
}

MediaInfo InfoOfComm(uint64_t channels, uint64_t frames, uint64_t bits, const std::string &rate) {
    return InfoOf("/volume1/music/A/x.aif", Form("AIFF", Chunk("COMM", Comm(channels, frames, bits, rate))));
}

} // namespace

TEST(Libaiff, CommGivesTheFormat) {
    const Format format = FormatOf(Form("AIFF", kCdComm));
    EXPECT_TRUE(format.opened);
    EXPECT_EQ(format.frames, 441000u);
    EXPECT_EQ(format.channels, 2);
    EXPECT_EQ(format.rate, 44100.0);
    EXPECT_EQ(format.bits, 16);
    EXPECT_EQ(format.segment, 2);
}

TEST(Libaiff, CountsPassAsTheyAre) {
    const Format most = FormatOf(Form("AIFF", Chunk("COMM", Comm(65535, 0xFFFFFFFF, 65535, Rate(1)))));
    EXPECT_EQ(most.frames, 0xFFFFFFFFu);
    EXPECT_EQ(most.channels, 65535);
    EXPECT_EQ(most.bits, 65535);
    EXPECT_EQ(most.segment, 8192);
    const Format none = FormatOf(Form("AIFF", Chunk("COMM", Comm(0, 0, 0, Rate(1)))));
    EXPECT_TRUE(none.opened);
    EXPECT_EQ(none.channels, 0);
    EXPECT_EQ(none.segment, 0);
    for (const auto &[bits, segment] :
         {std::pair{1, 1}, {8, 1}, {12, 2}, {20, 3}, {24, 3}, {32, 4}, {33, 5}}) {
        const Format format = FormatOf(Form("AIFF", Chunk("COMM", Comm(1, 1, bits, Rate(1)))));
        EXPECT_EQ(format.bits, bits);
        EXPECT_EQ(format.segment, segment);
    }
}

TEST(Libaiff, RatesAreExact) {
    EXPECT_EQ(FormatOfRate(Extended(0x400E, 0xAC44800000000000)).rate, 44100.5);
    EXPECT_EQ(FormatOfRate(Extended(0x400D, 0xADDD1745D1745D17)).rate,
              0xADDD1745D1745D17p-49); // 22254.5454...
    EXPECT_EQ(FormatOfRate(Extended(0x0000, 0)).rate, 0.0);
    EXPECT_EQ(FormatOfRate(Extended(0xC00E, 0xAC44000000000000)).rate, -44100.0);
    EXPECT_EQ(FormatOfRate(Extended(0x43FE, 0x8000000000000000)).rate, 0x1p1023);
}

TEST(Libaiff, RatesThatAreNoNumberAreInfinite) {
    EXPECT_EQ(FormatOfRate(Extended(0x7FFF, 0x8000000000000000)).rate, kInfinity);
    EXPECT_EQ(FormatOfRate(Extended(0xFFFF, 0x8000000000000000)).rate, -kInfinity);
    EXPECT_EQ(FormatOfRate(Extended(0x7FFF, 0xC000000000000001)).rate, kInfinity);
    EXPECT_EQ(FormatOfRate(Extended(0x43FF, 0x8000000000000000)).rate, kInfinity); // too large for a double
}

TEST(Libaiff, AnUnnormalisedMantissaIsUsedAsItIs) {
    EXPECT_EQ(FormatOfRate(Extended(0x403E, 44100)).rate, 44100.0);
    EXPECT_EQ(FormatOfRate(Extended(0x403E, 1)).rate, 1.0);
    EXPECT_EQ(FormatOfRate(Extended(0x400E, 0)).rate, 0.0);
}

TEST(Libaiff, CompressionTypesOverrideTheSampleSize) {
    const struct {
        const char *type;
        int bits;
        int segment;
    } expected[] = {{"ulaw", 14, 2}, {"ULAW", 14, 2}, {"alaw", 13, 2}, {"ALAW", 13, 2}, {"fl32", 32, 4},
                    {"FL32", 32, 4}, {"NONE", 20, 3}, {"twos", 20, 3}, {"lpcm", 20, 3}, {"sowt", 20, 3},
                    {"ima4", 20, 3}, {"fl64", 20, 3}, {"in24", 20, 3}, {"raw ", 20, 3}, {"MAC3", 20, 3},
                    {"GSM ", 20, 3}, {"????", 20, 3}};
    for (const auto &row : expected) {
        const Format format = FormatOfCompression("AIFC", row.type);
        EXPECT_TRUE(format.opened) << row.type;
        EXPECT_EQ(format.bits, row.bits) << row.type;
        EXPECT_EQ(format.segment, row.segment) << row.type;
    }
}

TEST(Libaiff, CompressionCountsInAiffCOnlyAndOnlyWhenTheChunkHoldsIt) {
    EXPECT_EQ(FormatOfCompression("AIFF", "ulaw").bits, 20);
    // 21 bytes: the last letter is behind the chunk, as its pad byte.
    const std::string cut = "COMM" + Big(21, 4) + Comm(1, 1, 20, Rate(8000)) + "ulaw";
    EXPECT_EQ(FormatOf(Form("AIFC", cut)).bits, 20);
    EXPECT_EQ(FormatOf(Form("AIFC", Chunk("COMM", Comm(1, 1, 20, Rate(8000)) + "ulaw"))).bits, 14);
}

TEST(Libaiff, OnlyFormTypeAndCommMatter) {
    EXPECT_TRUE(FormatOf("FORM" + Big(1, 4) + "AIFF" + kCdComm).opened);
    EXPECT_TRUE(FormatOf("FORM" + Big(0xFFFFFFFF, 4) + "AIFC" + kCdComm).opened);
    EXPECT_FALSE(FormatOf("FORM" + Big(0, 4) + "AIFF" + kCdComm).opened);
    EXPECT_FALSE(FormatOf("FORX" + Big(30, 4) + "AIFF" + kCdComm).opened);
    EXPECT_FALSE(FormatOf(Form("AIFX", kCdComm)).opened);
    EXPECT_FALSE(FormatOf(Form("WAVE", kCdComm)).opened);
    EXPECT_FALSE(FormatOf("ID3" + std::string(7, '\0') + Form("AIFF", kCdComm)).opened);
    EXPECT_FALSE(FormatOf("").opened);
    EXPECT_FALSE(FormatOf("FORM").opened);
    EXPECT_FALSE(FormatOf(Form("AIFF", "")).opened);
    EXPECT_FALSE(FormatOf(Form("AIFF", Chunk("SSND", "1234"))).opened);
}

TEST(Libaiff, TheFirstCommCounts) {
    const std::string other = Chunk("COMM", Comm(1, 7, 8, Rate(8000)));
    EXPECT_EQ(FormatOf(Form("AIFF", kCdComm + other)).frames, 441000u);
    EXPECT_FALSE(FormatOf(Form("AIFF", Chunk("COMM", std::string(17, 'x')) + kCdComm)).opened);
    EXPECT_FALSE(FormatOf(Form("AIFF", kCdComm).substr(0, 12 + 8 + 17)).opened);
}

TEST(Libaiff, OtherChunksAreSteppedOverWithTheirPadByte) {
    EXPECT_TRUE(FormatOf(Form("AIFF", Chunk("ID3 ", "tag") + Chunk("SSND", "data") + kCdComm)).opened);
    EXPECT_TRUE(FormatOf(Form("AIFF", kCdComm + "SSND" + Big(1000, 4) + "cut")).opened);
    EXPECT_TRUE(FormatOf(Form("AIFF", Chunk("NAME", "") + kCdComm)).opened);
    EXPECT_FALSE(FormatOf(Form("AIFF", "NAME" + Big(3, 4) + "abc" + kCdComm)).opened); // no pad byte
    EXPECT_FALSE(FormatOf(Form("AIFF", "NAME" + Big(1000, 4) + "abc" + kCdComm)).opened);
}

TEST(Libaiff, TheLargestChunkSizeWrapsToNothing) {
    EXPECT_TRUE(FormatOf(Form("AIFF", "NAME" + Big(0xFFFFFFFF, 4) + kCdComm)).opened);
    EXPECT_FALSE(FormatOf(Form("AIFF", "NAME" + Big(0xFFFFFFFE, 4) + kCdComm)).opened);
    EXPECT_FALSE(FormatOf(Form("AIFF", "NAME" + Big(0x80000000, 4) + kCdComm)).opened);
}

TEST(Libaiff, CommIsFoundBehindFourGigabytes) {
    // Two chunks of 4 GiB less two bytes each, as holes.
    const uint64_t chunk_size = 0xFFFFFFFE;
    const ScratchFile file(Form("AIFF", "SSND" + Big(chunk_size, 4)));
    FILE *stream = fopen(file.c_str(), "r+b");
    ASSERT_NE(stream, nullptr);
    const std::string second = "SSND" + Big(chunk_size, 4);
    fseeko(stream, static_cast<off_t>(12 + 8 + chunk_size), SEEK_SET);
    fwrite(second.data(), 1, second.size(), stream);
    fseeko(stream, static_cast<off_t>(12 + 2 * (8 + chunk_size)), SEEK_SET);
    fwrite(kCdComm.data(), 1, kCdComm.size(), stream);
    ASSERT_EQ(fclose(stream), 0);
    EXPECT_EQ(FormatOfFile(file.c_str()).frames, 441000u);
}

TEST(Libaiff, ChunksBeforeCommAreCounted) {
    std::string chunks;
    for (int i = 1; i < kAiffChunksMax; i++)
        chunks += Chunk("ANNO", "");
    EXPECT_TRUE(FormatOf(Form("AIFF", chunks + kCdComm)).opened);
    EXPECT_FALSE(FormatOf(Form("AIFF", chunks + Chunk("ANNO", "") + kCdComm)).opened);
}

TEST(Libaiff, OnlyRegularFilesAreOpened) {
    EXPECT_EQ(AIFF_OpenFile("/tmp/none.aif", F_RDONLY), nullptr);
    EXPECT_EQ(AIFF_OpenFile("/tmp", F_RDONLY), nullptr);
    EXPECT_EQ(AIFF_OpenFile("/dev/zero", F_RDONLY), nullptr);
    ASSERT_EQ(mkfifo("/tmp/pipe.aif", 0600), 0);
    EXPECT_EQ(AIFF_OpenFile("/tmp/pipe.aif", F_RDONLY), nullptr); // and it does not wait for a writer
    unlink("/tmp/pipe.aif");
    EXPECT_EQ(AIFF_OpenFile(nullptr, F_RDONLY), nullptr);
    EXPECT_EQ(AIFF_OpenFile(ScratchFile(Form("AIFF", kCdComm)).c_str(), 2), nullptr); // for writing
}

TEST(Libaiff, AnswersMayBeLeftOutAndAMissingReferenceFails) {
    const ScratchFile file(Form("AIFF", kCdComm));
    AIFF_Ref ref = AIFF_OpenFile(file.c_str(), F_RDONLY);
    ASSERT_NE(ref, nullptr);
    EXPECT_EQ(AIFF_GetAudioFormat(ref, nullptr, nullptr, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(AIFF_CloseFile(ref), 1);
    uint64_t frames = 5;
    EXPECT_EQ(AIFF_GetAudioFormat(nullptr, &frames, nullptr, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(frames, 5u);
    EXPECT_EQ(AIFF_CloseFile(nullptr), -1);
}

TEST_F(AiffTest, TenSecondsOfCdSound) {
    const MediaInfo record = InfoOf("/volume1/music/Artist/Album/song.aiff", Form("AIFF", kCdComm));
    EXPECT_EQ(record.duration, 10.0f);
    EXPECT_EQ(record.audio_bitrate, 1411200u);
    EXPECT_EQ(record.sample_rate, 44100u);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.file_size, 38u);
    EXPECT_STREQ(record.path, "/volume1/music/Artist/Album/song.aiff");
    EXPECT_STREQ(record.title, "song");
    EXPECT_STREQ(record.album, "Album");
    EXPECT_NE(record.create_time[0], '\0');
    EXPECT_NE(record.modify_time[0], '\0');
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(AiffTest, NamesComeFromThePath) {
    EXPECT_STREQ(InfoOf("/volume1/music/Album/song.live.aiff", "x").title, "song.live");
    EXPECT_STREQ(InfoOf("/volume1/music/Album/song", "x").title, "song");
    EXPECT_EQ(strlen(InfoOf("/volume1/music/Album/" + std::string(255, 'x'), "x").title), 254u);
}

TEST_F(AiffTest, AFileAtTheTopHasNoAlbum) {
    const MediaInfo record = InfoOf("/song.aiff", Form("AIFF", kCdComm));
    unlink("/song.aiff");
    EXPECT_STREQ(record.title, "song");
    EXPECT_STREQ(record.album, "");
    EXPECT_EQ(record.duration, 10.0f);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(AiffTest, AnUnreadableFileKeepsPathSizeTimesAndNames) {
    const MediaInfo record = InfoOf("/volume1/music/Album/text.aif", "no sound");
    EXPECT_EQ(record.file_size, 8u);
    EXPECT_STREQ(record.title, "text");
    EXPECT_EQ(record.duration, 0.0f);
    EXPECT_EQ(record.audio_bitrate, 0u);
    EXPECT_EQ(record.sample_rate, 0u);
    EXPECT_EQ(record.channels, 0u);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(AiffTest, ARateThatIsNotAboveZeroGivesNoDuration) {
    for (const std::string &rate :
         {Extended(0, 0), Extended(0xC00E, 0xAC44000000000000), Extended(0xFFFF, 0)}) {
        const MediaInfo record = InfoOfComm(2, 441000, 16, rate);
        EXPECT_EQ(record.duration, 0.0f);
        EXPECT_EQ(record.audio_bitrate, 0u);
        EXPECT_EQ(record.sample_rate, 0u);
        EXPECT_EQ(record.channels, 2u);
    }
}

TEST_F(AiffTest, AnInfiniteRateIsTheLargestAndTakesNoTime) {
    const MediaInfo record = InfoOfComm(2, 441000, 16, Extended(0x7FFF, 0));
    EXPECT_EQ(record.duration, 0.0f);
    EXPECT_EQ(record.audio_bitrate, UINT32_MAX);
    EXPECT_EQ(record.sample_rate, UINT32_MAX);
    EXPECT_EQ(InfoOfComm(0, 441000, 16, Extended(0x7FFF, 0)).audio_bitrate, 0u); // no number at all
}

TEST_F(AiffTest, NumbersAboveTheirFieldsAreCut) {
    const MediaInfo most = InfoOfComm(65535, 1, 65535, Rate(44100));
    EXPECT_EQ(most.audio_bitrate, UINT32_MAX);
    EXPECT_EQ(most.sample_rate, 44100u);
    EXPECT_EQ(InfoOfComm(1, 1, 1, Rate(0xFFFFFFFF)).sample_rate, 0xFFFFFFFFu);
    EXPECT_EQ(InfoOfComm(1, 1, 1, Rate(0xFFFFFFFE)).sample_rate, 0xFFFFFFFEu);
    EXPECT_EQ(InfoOfComm(1, 1, 1, Rate(0x100000000)).sample_rate, UINT32_MAX);
    // A frame in 2^-150 seconds lasts longer than a float can say.
    EXPECT_EQ(InfoOfComm(1, 1, 8, Extended(16383 - 150, uint64_t{1} << 63)).duration, 0.0f);
    EXPECT_EQ(InfoOfComm(1, 1, 8, Extended(16383 - 127, uint64_t{1} << 63)).duration, 0x1p127f);
}

TEST_F(AiffTest, RatesAreCutToWholeNumbersAtTheEnd) {
    const MediaInfo record = InfoOfComm(2, 88201, 16, Extended(0x400E, 0xAC44800000000000)); // 44100.5
    EXPECT_EQ(record.sample_rate, 44100u);
    EXPECT_EQ(record.audio_bitrate, 1411216u);
    EXPECT_EQ(record.duration, 2.0f);
}

TEST_F(AiffTest, WantsItsArguments) {
    MediaInfo record;
    EXPECT_EQ(AiffInfoGet(nullptr, &record), -1);
    EXPECT_EQ(AiffInfoGet("", &record), -1);
    EXPECT_EQ(AiffInfoGet("/volume1/music/x.aif", nullptr), -1);
    EXPECT_EQ(LogTakeTexts(), Texts(3, "aiff.c# Bad parameter."));
    EXPECT_EQ(AiffInfoGet("/volume1/music/none.aif", &record), -1);
    EXPECT_EQ(AiffInfoGet("/volume1/music", &record), -1);
    EXPECT_EQ(AiffIndexAdd("/volume1/music/none.aif"), -1);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(AiffTest, ARowIsSavedAndGoesOnlyWithItsFile) {
    const std::string path = "/volume1/music/Album/song.aiff";
    FileWrite(path, Form("AIFF", kCdComm));
    EXPECT_EQ(AiffIndexAdd(path.c_str()), 0);
    auto row = MediaRow("music", path);
    EXPECT_EQ(row["title"], "song");
    EXPECT_EQ(row["audio_bitrate"], "1411200");
    EXPECT_EQ(AiffIndexDelete(path.c_str()), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"aiff.c# File exists. Skip remove it from database."});
    EXPECT_EQ(MediaPaths("music").size(), 1u);
    unlink(path.c_str());
    EXPECT_EQ(AiffIndexDelete(path.c_str()), 0);
    EXPECT_TRUE(MediaPaths("music").empty());
}

TEST_F(AiffTest, StoreFailuresAreReported) {
    FileWrite("/volume1/music/Album/song.aiff", Form("AIFF", kCdComm));
    FileWrite("/etc/veluinfo.conf", "mediadb=\"sqlite:/proc/no/such/place.db\"\n");
    EXPECT_EQ(AiffIndexAdd("/volume1/music/Album/song.aiff"), -1);
    EXPECT_EQ(LogTakeTexts().back(), "aiff.c# Failed to save media info to database.");
    EXPECT_EQ(AiffIndexDelete("/volume1/music/gone.aiff"), -1);
    EXPECT_EQ(LogTakeTexts().back(), "aiff.c# Failed to remove [/volume1/music/gone.aiff] from database");
}

TEST_F(AiffTest, FilesOfRealEncoders) {
    const struct {
        const char *command;
        float duration;
        uint32_t bitrate;
        uint32_t rate;
        uint32_t channels;
    } expected[] = {
        {"sox -n -r 44100 -c 2 -b 16 /tmp/real.aiff synth 2 sine 440", 2.0f, 1411200, 44100, 2},
        {"sox -n -r 22050 -c 1 -b 24 /tmp/real.aiff synth 1.5 sine 440", 1.5f, 529200, 22050, 1},
        {"sox -n -r 8000 -c 1 -b 8 -t aifc /tmp/real.aiff synth 1 sine 440", 1.0f, 64000, 8000, 1},
        {"ffmpeg -v error -f lavfi -i sine=d=3:r=48000 -ac 2 -c:a pcm_s16be -y /tmp/real.aiff", 3.0f, 1536000,
         48000, 2},
        {"ffmpeg -v error -f lavfi -i sine=d=3:r=8000 -c:a pcm_mulaw -y /tmp/real.aiff", 3.0f, 112000, 8000,
         1},
        {"ffmpeg -v error -f lavfi -i sine=d=3:r=8000 -c:a pcm_alaw -y /tmp/real.aiff", 3.0f, 104000, 8000,
         1},
        {"ffmpeg -v error -f lavfi -i sine=d=3:r=44100 -c:a pcm_s16le -write_id3v2 1 -metadata title=T -y "
         "/tmp/real.aiff",
         3.0f, 705600, 44100, 1},
    };
    for (const auto &row : expected) {
        ASSERT_EQ(ProgramRun(row.command).status, 0) << row.command;
        MediaInfo record;
        EXPECT_EQ(AiffInfoGet("/tmp/real.aiff", &record), 0);
        EXPECT_EQ(record.duration, row.duration) << row.command;
        EXPECT_EQ(record.audio_bitrate, row.bitrate) << row.command;
        EXPECT_EQ(record.sample_rate, row.rate) << row.command;
        EXPECT_EQ(record.channels, row.channels) << row.command;
        unlink("/tmp/real.aiff");
    }
}
