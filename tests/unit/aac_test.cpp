// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/aac.h"

#include "catalogue/indexers.h"
#include "container/faad_line.h"
#include "platform/limits.h"
#include "tests/unit/comma_locale.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Texts = std::vector<std::string>;

constexpr char kGoodLine[] = "song.aac duration;215.3;samplerate;44100;channel;2;bitrate;128000;";
constexpr char kDecoder[] = "/usr/velu/bin/decoder";
constexpr char kSong[] = "/volume1/music/Album/song.aac";

bool Parse(const std::string &line, MediaInfo *record) {
    *record = MediaInfo{};
    return FaadLineParse(line.c_str(), record);
}

// A decoder that is a shell script; its second argument is the file.
void DecoderInstall(const std::string &script) {
    FileWrite(kDecoder, "#!/bin/sh\n" + script + "\n");
    chmod(kDecoder, 0755);
    FileWrite("/etc/veluinfo.conf", std::string("aacdecoder=\"") + kDecoder + "\"\n");
}

class AacTest : public testing::Test {
protected:
    AacTest() {
        SandboxReset();
        FileWrite(kSong, "sound");
        LogTake();
    }
};

} // namespace

TEST(FaadLine, AllFiveValues) {
    MediaInfo record;
    EXPECT_TRUE(Parse(kGoodLine, &record));
    EXPECT_EQ(record.duration, 215.3f);
    EXPECT_EQ(record.sample_rate, 44100u);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.audio_bitrate, 128000u);
}

TEST(FaadLine, BlanksAreFreeOnlyWhereTheFormatHasThem) {
    MediaInfo record;
    EXPECT_TRUE(Parse("  x \t\n duration; 1;samplerate; 2;channel; 3;bitrate; 4;", &record));
    EXPECT_TRUE(Parse("x duration;1;samplerate;2;channel;3;bitrate;4", &record)); // all conversions done
    EXPECT_FALSE(Parse("x duration;1 ;samplerate;2;channel;3;bitrate;4;", &record));
    EXPECT_FALSE(Parse("xduration;1;samplerate;2;channel;3;bitrate;4;", &record));
    EXPECT_FALSE(Parse("x Duration;1;samplerate;2;channel;3;bitrate;4;", &record));
    EXPECT_FALSE(Parse("", &record));
    EXPECT_FALSE(Parse("\n", &record));
}

TEST(FaadLine, AFirstWordWithABlankDoesNotMatch) {
    MediaInfo record;
    EXPECT_FALSE(Parse("my song.aac duration;215.3;samplerate;44100;channel;2;bitrate;128000;", &record));
    EXPECT_EQ(record.duration, 0.0f);
}

TEST(FaadLine, ValuesBeforeTheFaultStay) {
    MediaInfo record;
    EXPECT_FALSE(Parse("x duration;1.5;samplerate;8000;channel;one;bitrate;4;", &record));
    EXPECT_EQ(record.duration, 1.5f);
    EXPECT_EQ(record.sample_rate, 8000u);
    EXPECT_EQ(record.channels, 0u);
    EXPECT_EQ(record.audio_bitrate, 0u);
}

TEST(FaadLine, NumbersBeyondTheirFieldsAreCut) {
    MediaInfo record;
    EXPECT_TRUE(Parse("x duration;inf;samplerate;4294967295;channel;-1;bitrate;4294967296;", &record));
    EXPECT_EQ(record.duration, 0.0f);
    EXPECT_EQ(record.sample_rate, 4294967295u);
    EXPECT_EQ(record.channels, 0u);
    EXPECT_EQ(record.audio_bitrate, 4294967295u);
    EXPECT_TRUE(Parse("x duration;nan;samplerate;99999999999999999999;channel;1;bitrate;1;", &record));
    EXPECT_EQ(record.duration, 0.0f);
    EXPECT_EQ(record.sample_rate, 4294967295u);
}

TEST(FaadLine, ThePointIsOneInAnyLocale) {
    const CommaLocale comma;
    char number[8];
    snprintf(number, sizeof number, "%.1f", 1.5);
    ASSERT_STREQ(number, "1,5") << "the locale is not there";
    MediaInfo record;
    EXPECT_TRUE(Parse(kGoodLine, &record));
    EXPECT_EQ(record.duration, 215.3f);
    snprintf(number, sizeof number, "%.1f", 1.5);
    EXPECT_STREQ(number, "1,5") << "the locale stays as it was";
}

TEST(FaadLine, ALongFirstWordFits) {
    MediaInfo record;
    EXPECT_TRUE(Parse(std::string(5000, 'x') + " duration;1;samplerate;2;channel;3;bitrate;4;", &record));
    EXPECT_EQ(record.channels, 3u);
}

TEST_F(AacTest, TheDecodersValuesAreTaken) {
    DecoderInstall(std::string("[ \"$1\" = -i ] && echo '") + kGoodLine + "'; echo second");
    MediaInfo record = {};
    EXPECT_EQ(AacMetadataRead(kSong, &record), 0);
    EXPECT_EQ(record.duration, 215.3f);
    EXPECT_EQ(AacFileIndex(kSong), 0);
    auto row = MediaRow("music", kSong);
    EXPECT_EQ(row["title"], "song");
    EXPECT_EQ(row["sample_rate"], "44100");
    EXPECT_EQ(row["audio_bitrate"], "128000");
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(AacTest, ADecoderThatIsMissingOrSilentLeavesTheNames) {
    FileWrite("/etc/veluinfo.conf", "aacdecoder=\"/usr/velu/bin/none\"\n");
    EXPECT_EQ(AacFileIndex(kSong), 1);
    EXPECT_EQ(MediaRow("music", kSong)["title"], "song");
    DecoderInstall("exit 0");
    FileWrite("/etc/veluinfo.conf", std::string("aacdecoder=\"") + kDecoder + "\"\n");
    EXPECT_EQ(AacFileIndex(kSong), 1);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(AacTest, AnotherLineIsReported) {
    DecoderInstall("echo garbage");
    EXPECT_EQ(AacFileIndex(kSong), 1);
    EXPECT_EQ(LogTakeTexts(), Texts{"aac.c# Failed to parse FAAD result. [garbage\n]"});
}

TEST_F(AacTest, ALineIsReadUpTo1023Bytes) {
    DecoderInstall(
        "head -c 5000 /dev/zero | tr '\\0' x; echo ' duration;1;samplerate;2;channel;3;bitrate;4;'");
    MediaInfo record = {};
    EXPECT_EQ(AacMetadataRead(kSong, &record), -1);
    EXPECT_EQ(LogTakeTexts(),
              Texts{"aac.c# Failed to parse FAAD result. [" + std::string(kDecoderLineSize - 1, 'x') + "]"});
}

TEST_F(AacTest, AnyNameReachesTheDecoderAsOneArgument) {
    DecoderInstall("printf %s \"$2\" > /tmp/argument; echo $# > /tmp/count");
    for (const char *name :
         {"a b", "a'b", "a\"b", "a\nb", "$(touch /tmp/bad)", "`x`;\\&|<>*?#~!", "\xff\xfe", " -i"}) {
        const std::string path = std::string("/volume1/music/") + name + ".aac";
        FileWrite(path, "x");
        EXPECT_EQ(AacFileIndex(path.c_str()), 1);
        EXPECT_EQ(FileRead("/tmp/argument"), path);
        EXPECT_EQ(FileRead("/tmp/count"), "2\n");
    }
    EXPECT_NE(access("/tmp/bad", F_OK), 0);
}

TEST_F(AacTest, ACommandThatWouldBeCutIsNotRun) {
    DecoderInstall("echo run > /tmp/run");
    std::string path = "/volume1";
    while (path.size() < 4000)
        path += "/" + std::string(200, '#'); // each takes two bytes when quoted
    MediaInfo record = {};
    EXPECT_EQ(AacMetadataRead(path.c_str(), &record), -1);
    ASSERT_EQ(LogTake().size(), 1u);
    EXPECT_NE(access("/tmp/run", F_OK), 0);
}

TEST_F(AacTest, WantsItsArguments) {
    MediaInfo record = {};
    EXPECT_EQ(AacMetadataRead(nullptr, &record), -1);
    EXPECT_EQ(AacMetadataRead("", &record), -1);
    EXPECT_EQ(AacMetadataRead(kSong, nullptr), -1);
    EXPECT_EQ(AacFileIndex(nullptr), -1);
    EXPECT_EQ(LogTakeTexts(), Texts(4, "aac.c# Bad parameter."));
    EXPECT_EQ(AacFileIndex("/volume1/music/none.aac"), -1);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(AacTest, AFailedSaveLeavesTheResult) {
    DecoderInstall(std::string("echo '") + kGoodLine + "'");
    FileWrite("/etc/veluinfo.conf",
              std::string("aacdecoder=\"") + kDecoder + "\"\nmediadb=\"sqlite:/proc/no/such/place.db\"\n");
    EXPECT_EQ(AacFileIndex(kSong), 0);
    EXPECT_EQ(LogTakeTexts().back(),
              std::string("aac.c# Failed to save media info to database. [") + kSong + "]");
}
