// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/flac.h"

#include "catalogue/indexers.h"
#include "container/flac_blocks.h"
#include "container/flac_tags.h"
#include "platform/limits.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/program_output.h"
#include "tests/unit/scratch_file.h"
#include "tests/unit/test_files.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Texts = std::vector<std::string>;

enum BlockType : char { kStreamInfo = 0, kPadding = 1, kVorbisComment = 4 };
constexpr char kLast = '\x80';

std::string Big(uint64_t value, int size) {
    std::string bytes;
    for (int i = size - 1; i >= 0; i--)
        bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

std::string Little(uint32_t value) {
    std::string bytes = Big(value, 4);
    return {bytes.rbegin(), bytes.rend()};
}

std::string Block(int type, const std::string &content) {
    return static_cast<char>(type) + Big(content.size(), 3) + content;
}

// 16 bits, stereo.
std::string StreamInfo(uint64_t rate, uint64_t samples) {
    return Block(kStreamInfo, Big(4096, 2) + Big(4096, 2) + std::string(6, '\0') +
                                  Big(rate << 44 | uint64_t{1} << 41 | uint64_t{15} << 36 | samples, 8) +
                                  std::string(16, '\0'));
}

std::string Comments(const Texts &entries) {
    std::string content = Little(4) + "test" + Little(static_cast<uint32_t>(entries.size()));
    for (const std::string &entry : entries)
        content += Little(static_cast<uint32_t>(entry.size())) + entry;
    return Block(kVorbisComment | kLast, content);
}

std::string Flac(const Texts &entries) {
    return "fLaC" + StreamInfo(44100, 441000) + Comments(entries);
}

MediaInfo RecordOfTags(const Texts &entries) {
    MediaInfo record = {};
    EXPECT_EQ(FlacMetadataRead(ScratchFile(Flac(entries)).c_str(), &record), 0);
    return record;
}

int32_t YearOf(const std::string &date) {
    MediaInfo record = {};
    record.year = 1;
    FlacTagTake("DATE=" + date, &record);
    return record.year;
}

int32_t TrackOf(const std::string &number) {
    MediaInfo record = {};
    FlacTagTake("TRACKNUMBER=" + number, &record);
    return record.track;
}

class FlacTest : public testing::Test {
protected:
    FlacTest() {
        SandboxReset();
        LogTake();
    }
};

} // namespace

TEST_F(FlacTest, StreamValuesAndTags) {
    const MediaInfo record = RecordOfTags({"TITLE=Song", "ARTIST=Singer", "ALBUM=Disc", "DATE=2007",
                                           "GENRE=Folk", "TRACKNUMBER=3/12", "COMPOSER=ignored"});
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.sample_rate, 44100u);
    EXPECT_EQ(record.duration, 10.0f);
    EXPECT_STREQ(record.title, "Song");
    EXPECT_STREQ(record.artist, "Singer");
    EXPECT_STREQ(record.album, "Disc");
    EXPECT_STREQ(record.genre, "Folk");
    EXPECT_STREQ(record.composer, "");
    EXPECT_EQ(record.year, 2007);
    EXPECT_EQ(record.track, 3);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(FlacTest, BitRateIsThatOfTheWholeFile) {
    std::string bytes = Flac({});
    bytes.resize(1'000'000);
    MediaInfo record = {};
    ASSERT_EQ(FlacMetadataRead(ScratchFile(bytes).c_str(), &record), 0);
    EXPECT_EQ(record.duration, 10.0f);
    EXPECT_EQ(record.audio_bitrate, 800'000u);
}

TEST_F(FlacTest, DurationIsInWholeSecondsAndBitRateIsExact) {
    std::string bytes = "fLaC" + StreamInfo(44100, 44100 + 22050) + Comments({});
    bytes.resize(1500);
    MediaInfo record = {};
    ASSERT_EQ(FlacMetadataRead(ScratchFile(bytes).c_str(), &record), 0);
    EXPECT_EQ(record.duration, 1.0f);
    EXPECT_EQ(record.audio_bitrate, 8000u);
}

TEST_F(FlacTest, NoSamplesGiveNoDurationAndNoBitRate) {
    MediaInfo record = {};
    ASSERT_EQ(FlacMetadataRead(ScratchFile("fLaC" + StreamInfo(44100, 0) + Comments({})).c_str(), &record),
              0);
    EXPECT_EQ(record.duration, 0.0f);
    EXPECT_EQ(record.audio_bitrate, 0u);
    EXPECT_EQ(record.sample_rate, 44100u);
}

TEST_F(FlacTest, NoSampleRateGivesNoDurationAndNoBitRate) {
    MediaInfo record = {};
    FlacMetadataRead(ScratchFile("fLaC" + StreamInfo(0, 441000) + Comments({})).c_str(), &record);
    EXPECT_EQ(record.duration, 0.0f);
    EXPECT_EQ(record.audio_bitrate, 0u);
}

TEST_F(FlacTest, ABitRateAboveItsFieldIsCut) {
    const ScratchFile file("fLaC" + StreamInfo(655350, 1) + Comments({}));
    ASSERT_EQ(truncate(file.c_str(), 1'000'000), 0);
    MediaInfo record = {};
    ASSERT_EQ(FlacMetadataRead(file.c_str(), &record), 0);
    EXPECT_EQ(record.audio_bitrate, UINT32_MAX);
}

TEST_F(FlacTest, KeysIgnoreCaseAndEmptyValuesAreSkipped) {
    MediaInfo record = {};
    strcpy(record.title, "default");
    FlacTagTake("TITLE=", &record);
    FlacTagTake("TITLE", &record);
    FlacTagTake("", &record);
    FlacTagTake("TITLE =x", &record);
    FlacTagTake(" TITLE=x", &record);
    FlacTagTake("SUBTITLE=x", &record);
    EXPECT_STREQ(record.title, "default");
    FlacTagTake("title=Song", &record);
    EXPECT_STREQ(record.title, "Song");
    FlacTagTake("TiTlE=Later", &record);
    EXPECT_STREQ(record.title, "Later");
}

TEST_F(FlacTest, AnEntryEndsWithItsLength) {
    MediaInfo record = {};
    const std::string longer = "TITLE=Song";
    FlacTagTake(std::string_view(longer).substr(0, 8), &record);
    EXPECT_STREQ(record.title, "So");
    FlacTagTake(std::string_view("TITLE=a\0b", 9), &record);
    EXPECT_STREQ(record.title, "a");
    FlacTagTake(std::string_view("TITLE=\0b", 8), &record);
    EXPECT_STREQ(record.title, "a");
    FlacTagTake(std::string_view("TIT\0LE=b", 8), &record);
    EXPECT_STREQ(record.title, "a");
}

TEST_F(FlacTest, TextIsCutToItsField) {
    MediaInfo record = {};
    FlacTagTake("TITLE=" + std::string(254, 'x'), &record);
    EXPECT_EQ(record.title, std::string(254, 'x'));
    FlacTagTake("ARTIST=" + std::string(255, 'y'), &record);
    EXPECT_EQ(record.artist, std::string(254, 'y'));
    FlacTagTake("GENRE=" + std::string(100'000, 'z'), &record);
    EXPECT_EQ(record.genre, std::string(254, 'z'));
    EXPECT_STREQ(record.album, "");
    EXPECT_STREQ(record.composer, "");
}

TEST_F(FlacTest, AYearIsANumberAndNothingElse) {
    EXPECT_EQ(YearOf("2007"), 2007);
    EXPECT_EQ(YearOf(" +2007"), 2007);
    EXPECT_EQ(YearOf("-5"), -5);
    EXPECT_EQ(YearOf("2007-09-17"), 0);
    EXPECT_EQ(YearOf("2007 "), 0);
    EXPECT_EQ(YearOf("about 2007"), 0);
    EXPECT_EQ(YearOf("-"), 0);
    EXPECT_EQ(YearOf("2147483647"), INT32_MAX);
    EXPECT_EQ(YearOf("2147483648"), 0);
    EXPECT_EQ(YearOf(std::string(1000, '9')), 0);
    EXPECT_EQ(YearOf(std::string(1000, '0') + "7"), 7);
}

TEST_F(FlacTest, ATrackIsALeadingNumber) {
    EXPECT_EQ(TrackOf("3/12"), 3);
    EXPECT_EQ(TrackOf("07"), 7);
    EXPECT_EQ(TrackOf("\t12 of 20"), 12);
    EXPECT_EQ(TrackOf("A1"), 0);
    EXPECT_EQ(TrackOf("99999999999999999999/1"), 0);
}

TEST_F(FlacTest, WithoutTagsTheStreamValuesStay) {
    const std::string path = "/volume1/music/Album/bare.flac";
    std::string bytes = "fLaC" + StreamInfo(44100, 441000);
    bytes[4] = static_cast<char>(kStreamInfo | kLast);
    FileWrite(path, bytes);
    MediaInfo record = {};
    EXPECT_EQ(FlacMetadataRead(path.c_str(), &record), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"flac.c# Can't get Flac comment tags: " + path + "."});
    EXPECT_EQ(record.duration, 10.0f);
    EXPECT_EQ(record.channels, 2u);

    EXPECT_EQ(FlacFileIndex(path.c_str()), 1);
    EXPECT_EQ(LogTakeTexts().back(), "flac.c# Failed to parse music metadata.");
    auto row = MediaRow("music", path);
    EXPECT_EQ(row["title"], "bare");
    EXPECT_EQ(row["album"], "Album");
    EXPECT_EQ(row["sample_rate"], "44100");
}

TEST_F(FlacTest, WantsItsArgumentsAndAFile) {
    MediaInfo record = {};
    EXPECT_EQ(FlacMetadataRead(nullptr, &record), -1);
    EXPECT_EQ(FlacMetadataRead("", &record), -1);
    EXPECT_EQ(FlacFileIndex(nullptr), -1);
    EXPECT_EQ(FlacFileIndex(""), -1);
    EXPECT_EQ(LogTakeTexts(), Texts(4, "flac.c# Bad parameter."));
    EXPECT_EQ(FlacMetadataRead("/volume1/none.flac", &record), -1);
    EXPECT_EQ(FlacMetadataRead("/volume1", &record), -1);
    EXPECT_EQ(LogTakeTexts(),
              (Texts{"flac.c# Stat file error: /volume1/none.flac.", "flac.c# Stat file error: /volume1."}));
    EXPECT_EQ(FlacFileIndex("/volume1/none.flac"), -1);
    EXPECT_EQ(FlacFileIndex("/volume1"), -1);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(FlacTest, OtherFilesHaveNoStreamInfo) {
    for (const std::string &bytes :
         {std::string(), std::string("text"), std::string("fLaC"), std::string(100, '\0'),
          "fLaC" + Comments({"TITLE=x"}), StreamInfo(1, 1), "RIFF" + Flac({})}) {
        const ScratchFile file(bytes);
        MediaInfo record = {};
        EXPECT_EQ(FlacMetadataRead(file.c_str(), &record), -1);
        EXPECT_EQ(LogTakeTexts(), Texts{"flac.c# Can't get Flac stream info: " + file.path + "."});
    }
}

TEST_F(FlacTest, AnId3TagBeforeTheStreamIsPassed) {
    const std::string tag = std::string("ID3\4\0\0\0\0\1\0", 10) + std::string(128, 't');
    MediaInfo record = {};
    EXPECT_EQ(FlacMetadataRead(ScratchFile(tag + Flac({"TITLE=x"})).c_str(), &record), 0);
    EXPECT_STREQ(record.title, "x");
    EXPECT_EQ(FlacMetadataRead(ScratchFile(tag + tag + Flac({"TITLE=y"})).c_str(), &record), -1);
    EXPECT_EQ(FlacMetadataRead(ScratchFile(tag + "x" + Flac({"TITLE=z"})).c_str(), &record), -1);
    EXPECT_EQ(FlacMetadataRead(ScratchFile(tag).c_str(), &record), -1);
}

TEST_F(FlacTest, BlocksAreCounted) {
    std::string blocks = StreamInfo(44100, 441000);
    for (int i = 2; i < kFlacBlocksMax; i++)
        blocks += Block(kPadding, "");
    MediaInfo record = {};
    EXPECT_EQ(FlacMetadataRead(ScratchFile("fLaC" + blocks + Comments({"TITLE=x"})).c_str(), &record), 0);
    EXPECT_STREQ(record.title, "x");
    blocks += Block(kPadding, "");
    EXPECT_EQ(FlacMetadataRead(ScratchFile("fLaC" + blocks + Comments({"TITLE=x"})).c_str(), &record), -1);
}

TEST_F(FlacTest, BytesOfAllBlocksAreCounted) {
    // Blocks of the largest size, as holes, up to the bound; the last one takes what remains.
    constexpr uint64_t kBlockMax = 0xFFFFFF;
    for (const uint64_t beyond : {0, 1}) {
        const ScratchFile file("fLaC" + StreamInfo(44100, 441000));
        FILE *stream = fopen(file.c_str(), "r+b");
        uint64_t offset = 4 + 4 + 34;
        while (offset < kFlacMetadataMax + beyond) {
            const uint64_t rest = kFlacMetadataMax + beyond - offset - 4;
            const uint64_t size = std::min(rest > kBlockMax + 4 ? rest - 4 : rest, kBlockMax);
            const bool last = size == rest;
            fseeko(stream, static_cast<off_t>(offset), SEEK_SET);
            fputc(kPadding | (last ? 0x80 : 0), stream);
            fwrite(Big(size, 3).data(), 1, 3, stream);
            offset += 4 + size;
        }
        ASSERT_EQ(fclose(stream), 0);
        ASSERT_EQ(truncate(file.c_str(), static_cast<off_t>(offset)), 0);
        EXPECT_EQ(FlacBlocksAreBounded(file.c_str()), beyond == 0);
    }
}

TEST_F(FlacTest, AnId3TagBeyondTheBoundIsNotPassed) {
    const ScratchFile file(std::string("ID3\4\0\0\x7f\x7f\x7f\x7f", 10));
    ASSERT_EQ(truncate(file.c_str(), off_t{1} << 30), 0);
    EXPECT_FALSE(FlacBlocksAreBounded(file.c_str()));
}

TEST_F(FlacTest, AHugeFileOfZerosIsRefusedAtOnce) {
    const ScratchFile file("");
    ASSERT_EQ(truncate(file.c_str(), off_t{1} << 40), 0);
    MediaInfo record = {};
    EXPECT_EQ(FlacMetadataRead(file.c_str(), &record), -1); // the search for the marker would take half a day
}

TEST_F(FlacTest, PipesAndDevicesAreNotOpened) {
    ASSERT_EQ(mkfifo("/tmp/pipe.flac", 0600), 0);
    EXPECT_FALSE(FlacBlocksAreBounded("/tmp/pipe.flac"));
    MediaInfo record = {};
    EXPECT_EQ(FlacMetadataRead("/tmp/pipe.flac", &record), -1);
    EXPECT_EQ(FlacMetadataRead("/dev/zero", &record), -1);
    unlink("/tmp/pipe.flac");
}

TEST_F(FlacTest, ClaimsBeyondTheBlockCostNoMemory) {
    const std::string head = "fLaC" + StreamInfo(44100, 441000);
    const std::string huge = Little(0xFFFFFFFF);
    const struct {
        const char *name;
        std::string content;
    } claims[] = {
        {"vendor", huge + std::string(100, 'x')},
        {"count", Little(0) + huge + std::string(100, 'x')},
        {"entry", Little(0) + Little(1) + huge + std::string(100, 'x')},
        {"empty", ""},
    };
    rusage before;
    getrusage(RUSAGE_SELF, &before);
    for (const auto &claim : claims) {
        MediaInfo record = {};
        FlacMetadataRead(ScratchFile(head + Block(kVorbisComment | kLast, claim.content)).c_str(), &record);
        EXPECT_EQ(record.duration, 10.0f) << claim.name;
        EXPECT_STREQ(record.title, "") << claim.name;
    }
    rusage after;
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 8 * 1024); // KiB
}

TEST_F(FlacTest, ALargestBlockOfCommentsStaysWithinItsMemory) {
    // 100,000 entries that fill the 16 MiB of a block: twice that, since libFLAC hands out a copy, and the lists.
    rusage before;
    getrusage(RUSAGE_SELF, &before);
    Texts entries(99'999, "X=" + std::string(158, 'x'));
    entries.emplace_back("TITLE=last");
    const ScratchFile file(Flac(entries));
    rusage built;
    getrusage(RUSAGE_SELF, &built);
    MediaInfo record = {};
    EXPECT_EQ(FlacMetadataRead(file.c_str(), &record), 0);
    EXPECT_STREQ(record.title, "last");
    rusage after;
    getrusage(RUSAGE_SELF, &after);
    constexpr long kMost =
        VELU_SANITIZED ? 64 * 1024 : 48 * 1024; // KiB; red zones stand around each of the texts
    EXPECT_LT(after.ru_maxrss - built.ru_maxrss, kMost);
}

TEST_F(FlacTest, ARowIsSaved) {
    const std::string path = "/volume1/music/Album/song.live.flac";
    FileWrite(path, Flac({"ARTIST=Singer"}));
    EXPECT_EQ(FlacFileIndex(path.c_str()), 0);
    auto row = MediaRow("music", path);
    EXPECT_EQ(row["title"], "song.live");
    EXPECT_EQ(row["album"], "Album");
    EXPECT_EQ(row["artist"], "Singer");
    EXPECT_NE(row["modify_time"], "");
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(FlacTest, AnAlbumThatCannotBeCutOutIsLogged) {
    const std::string path = "/volume1/music/" + std::string(255, 'd') + "/song";
    FileWrite(path, Flac({}));
    EXPECT_EQ(FlacFileIndex(path.c_str()), 0);
    EXPECT_EQ(LogTakeTexts(), Texts{"flac.c# Impossible error."});
    auto row = MediaRow("music", path);
    EXPECT_EQ(row["album"], std::string(254, 'd'));
    EXPECT_EQ(row["title"], "song") << "a name without an extension";
}

TEST_F(FlacTest, AFailedSaveLeavesTheResult) {
    FileWrite("/etc/veluinfo.conf", "mediadb=\"sqlite:/proc/no/such/place.db\"\n");
    FileWrite("/volume1/music/x.flac", Flac({}));
    FileWrite("/volume1/music/y.flac", "no sound");
    EXPECT_EQ(FlacFileIndex("/volume1/music/x.flac"), 0);
    EXPECT_EQ(LogTakeTexts().back(), "flac.c# Failed to save media info to database.");
    EXPECT_EQ(FlacFileIndex("/volume1/music/y.flac"), 1);
}

TEST_F(FlacTest, FilesOfRealEncoders) {
    ASSERT_EQ(
        ProgramRun(
            "sox -n -r 48000 -c 1 -b 16 /tmp/real.wav synth 3 sine 440 &&"
            "flac -s -f -T TITLE='A song' -T date=1999 -T tracknumber=4 -o /tmp/real.flac /tmp/real.wav")
            .status,
        0);
    MediaInfo record = {};
    EXPECT_EQ(FlacMetadataRead("/tmp/real.flac", &record), 0);
    EXPECT_STREQ(record.title, "A song");
    EXPECT_EQ(record.year, 1999);
    EXPECT_EQ(record.track, 4);
    EXPECT_EQ(record.duration, 3.0f);
    EXPECT_EQ(record.sample_rate, 48000u);
    EXPECT_EQ(record.channels, 1u);
    EXPECT_GT(record.audio_bitrate, 10'000u);

    ASSERT_EQ(
        ProgramRun(
            "ffmpeg -v error -f lavfi -i sine=d=2:r=44100 -metadata title=Other -metadata genre=Folk -y "
            "/tmp/real.flac")
            .status,
        0);
    EXPECT_EQ(FlacMetadataRead("/tmp/real.flac", &record), 0);
    EXPECT_STREQ(record.title, "Other");
    EXPECT_STREQ(record.genre, "Folk");
    EXPECT_EQ(record.duration, 2.0f);
    unlink("/tmp/real.flac");
    unlink("/tmp/real.wav");
}
