// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/metavideo.h"

#include <gtest/gtest.h>

#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <fstream>

#include "platform/limits.h"
#include "platform/media_record.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/mpeg_video_bytes.h"
#include "tests/unit/scratch_file.h"

using namespace mpeg_video_bytes;
using Texts = std::vector<std::string>;

namespace {

class MetavideoTest : public testing::Test {
protected:
    MetavideoTest() { LogTake(); }
};

MediaInfo Read(const std::string &bytes, int result = 0) {
    const Opened file(bytes);
    MediaInfo record = {};
    EXPECT_EQ(MpegVideoInfoGet(file.path.c_str(), &record), result);
    return record;
}

int64_t PrefixIn(const std::string &bytes, int64_t offset) {
    Opened file(bytes);
    return MpegFindPrefix(&file.reader, offset);
}

int HeaderIn(const std::string &bytes, int64_t offset) {
    Opened file(bytes);
    MpegSequenceInfo info;
    return MpegParseSequenceHeader(&file.reader, offset, &info);
}

std::string PackHeader() {
    return StartCode(0xBA) + "\x21\x00\x01\x00\x01\x80\x1B\x91"s;
}

constexpr const char *kNoVideo = "metavideo.c# couldn't find any valid video.";
constexpr const char *kNothing = "metavideo.c# Did not find video nor audio. Skip meta info";
constexpr const char *kBadOffset = "metavideo.c# Invalid offset ";
constexpr const char *kNoAudioHeader = "metaid3.c# MPEG Header not found";

// --- Bytes

TEST_F(MetavideoTest, BytesThatCannotBeHadAreSeventeenAndLogged) {
    Opened file("abc");
    EXPECT_EQ(MpegReadByte(&file.reader, 2), 'c');
    EXPECT_TRUE(LogTake().empty());
    EXPECT_EQ(MpegReadByte(&file.reader, 3), 17);
    EXPECT_EQ(MpegReadByte(&file.reader, INT64_MAX), 17);
    EXPECT_EQ(LogTakeTexts(), (Texts{kBadOffset, kBadOffset}));
    EXPECT_EQ(MpegReadByte(&file.reader, -1), 17);
    EXPECT_EQ(LogTakeTexts(), Texts{"metavideo.c# AT EOF "});
}

TEST_F(MetavideoTest, ByteAccessMovesTheWindowBothWays) {
    std::string bytes(kReaderWindow * 3, 'x');
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i % 251);
    Opened file(bytes);
    for (size_t at : {size_t{0}, kReaderWindow - 1, kReaderWindow, kReaderWindow * 3 - 1, size_t{5}})
        EXPECT_EQ(MpegReadByte(&file.reader, static_cast<int64_t>(at)), static_cast<int>(at % 251)) << at;
}

// --- Start codes

TEST_F(MetavideoTest, PrefixIsFoundUpToFiveBytesBeforeTheEnd) {
    const std::string head(20, 'x');
    EXPECT_EQ(PrefixIn(head + "\0\0\1yz"s, 0), 20);
    EXPECT_EQ(PrefixIn(head + "\0\0\1y"s, 0), -1);
    EXPECT_EQ(PrefixIn("\0\0\1"s, 0), -1);
    EXPECT_EQ(PrefixIn("", 0), -1);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(MetavideoTest, PrefixIsFoundUpToOffset99999) {
    const auto file = [](size_t at) { return std::string(at, 'x') + "\0\0\1"s + std::string(100, 'x'); };
    EXPECT_EQ(PrefixIn(file(kMpegPrefixOffsetMax), 0), 99'999);
    EXPECT_EQ(PrefixIn(file(99'999), 99'999), 99'999);
    EXPECT_EQ(PrefixIn(file(kMpegPrefixOffsetMax + 1), 0), -1);
    EXPECT_EQ(PrefixIn(file(100'000), 100'000), -1);
    EXPECT_EQ(PrefixIn(file(99'999), INT64_MAX), -1);
}

TEST_F(MetavideoTest, PrefixIsFoundAcrossTheEdgesOfWindows) {
    for (size_t at = kReaderWindow - 5; at < kReaderWindow + 3; ++at) {
        Opened file(std::string(at, '\0') + "\1"s + std::string(30, '\0') + "\1xyz"s);
        EXPECT_EQ(MpegFindPrefix(&file.reader, 0), static_cast<int64_t>(at) - 2);
        EXPECT_EQ(MpegFindPrefix(&file.reader, static_cast<int64_t>(at) - 1), static_cast<int64_t>(at) + 29);
    }
}

TEST_F(MetavideoTest, NegativeOffsets) {
    Opened file("\0\0\1\xB3xyz"s);
    EXPECT_EQ(MpegFindStartCode(&file.reader, 0, 0xB3), 0);
    EXPECT_EQ(MpegFindStartCode(&file.reader, -1, 0xB3), -1);
    EXPECT_EQ(MpegFindPrefix(&file.reader, INT64_MIN), 0); // no byte there begins a prefix
}

TEST_F(MetavideoTest, StartCodeIsLookedForBehindOthers) {
    Opened file("\0\0\1\xB8\0\0\0\1\0\0\1\xB3\0\0\1\xB3xyz"s);
    EXPECT_EQ(MpegFindStartCode(&file.reader, 0, 0xB3), 8);
    EXPECT_EQ(MpegFindStartCode(&file.reader, 9, 0xB3), 12);
    EXPECT_EQ(MpegFindStartCode(&file.reader, 0, 0xC0), -1);
}

TEST_F(MetavideoTest, SearchMakesNoSystemCallPastTheEnd) {
    Opened file(SequenceHeader(352, 288, 2880));
    EXPECT_EQ(MpegReadByte(&file.reader, 0), 0);
    file.reader.bytes.file.Close(); // a read now would move the end of what can be read
    EXPECT_EQ(MpegReadByte(&file.reader, 1000), 17);
    EXPECT_EQ(MpegFindPrefix(&file.reader, 1), -1);
    EXPECT_EQ(MpegReadByte(&file.reader, 3), 0xB3);
}

// --- Sequence headers

TEST_F(MetavideoTest, ElementaryStreamIsParsedAtItsStartAndNoAudioLookedFor) {
    std::string bytes = SequenceHeader(352, 288, 2880) + GroupOfPictures();
    bytes += AudioPacket(kNoTime, Frame224() + Frame224());
    const MediaInfo record = Read(bytes);
    EXPECT_EQ(record.width, 352u);
    EXPECT_EQ(record.height, 288u);
    EXPECT_EQ(record.video_bitrate, 2'880'000u);
    EXPECT_FLOAT_EQ(record.duration, static_cast<float>(bytes.size() * 8.0 / 1'152'000));
    EXPECT_EQ(record.audio_bitrate, 0u);
    EXPECT_EQ(record.sample_rate, 0u);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(MetavideoTest, ProgramStreamOfEightySeconds) {
    const ScratchFile file(PackHeader() + SequenceHeader(352, 288, 2880) + GroupOfPictures() +
                           AudioPacket(kNoTime, Frame224()));
    ASSERT_EQ(truncate(file.c_str(), 11'520'000), 0);
    MediaInfo record = {};
    EXPECT_EQ(MpegVideoInfoGet(file.c_str(), &record), 0);
    EXPECT_EQ(record.width, 352u);
    EXPECT_EQ(record.height, 288u);
    EXPECT_EQ(record.duration, 80.0F);
    EXPECT_EQ(record.video_bitrate, 2'880'000u);
    EXPECT_EQ(record.audio_bitrate, 224'000'000u);
    EXPECT_EQ(record.sample_rate, 44'100u);
    EXPECT_EQ(record.channels, 1u); // the code of joint stereo
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(MetavideoTest, SequenceFieldsTakeAllTheirBits) {
    Opened file(SequenceHeader(0xABC, 0xDEF, 0x2BCDE, 0xF8) + "tail"s);
    MpegSequenceInfo info;
    info.spare = 7;
    ASSERT_EQ(MpegParseSequenceHeader(&file.reader, 0, &info), 0);
    EXPECT_EQ(info.width, 0xABC);
    EXPECT_EQ(info.height, 0xDEF);
    EXPECT_EQ(info.bit_rate, 0x2BCDE);
    EXPECT_EQ(info.aspect_ratio, 15);
    EXPECT_EQ(info.frame_rate, 60);
    EXPECT_EQ(info.spare, 0);
    EXPECT_EQ(file.reader.version, 1);
}

TEST_F(MetavideoTest, FrameRates) {
    const double rates[] = {
        0, 24000.0 / 1001, 24, 25, 30000.0 / 1001, 30, 50, 60000.0 / 1001, 60, 0, 0, 0, 0, 0, 0, 0};
    for (int code = 0; code < 16; ++code) {
        Opened file(SequenceHeader(16, 16, 1, 0x10 | code) + "tail"s);
        MpegSequenceInfo info;
        ASSERT_EQ(MpegParseSequenceHeader(&file.reader, 0, &info), 0);
        EXPECT_EQ(info.frame_rate, rates[code]) << code;
    }
}

TEST_F(MetavideoTest, OtherBytesAreNoSequenceHeader) {
    const std::string header = SequenceHeader(352, 288, 2880) + "tail"s;
    for (size_t i = 0; i < 4; ++i) {
        std::string other = header;
        other[i] ^= 2;
        EXPECT_EQ(HeaderIn(other, 0), -1);
    }
    EXPECT_EQ(HeaderIn(header, 1), -1);
    EXPECT_EQ(HeaderIn("x" + header, 1), 0);
}

TEST_F(MetavideoTest, AspectRatioZeroIsLoggedOnly) {
    const MediaInfo record = Read(SequenceHeader(352, 288, 2880, 0x03) + "tail"s);
    EXPECT_EQ(record.width, 352u);
    EXPECT_EQ(LogTakeTexts(), Texts{"metavideo.c# invalid aspect_ratio."});
}

TEST_F(MetavideoTest, NoBitRateMakesTheDurationInfinite) {
    const MediaInfo record = Read(SequenceHeader(352, 288, 0) + "tail"s);
    EXPECT_TRUE(std::isinf(record.duration));
    EXPECT_GT(record.duration, 0);
    EXPECT_EQ(record.video_bitrate, 0u);
}

TEST_F(MetavideoTest, HeaderCutOffIsFilledUpWithSeventeen) {
    Opened file("\0\0\1\xB3"s);
    MpegSequenceInfo info;
    EXPECT_EQ(MpegParseSequenceHeader(&file.reader, 0, &info), 0);
    EXPECT_EQ(info.width, 0x111);
    EXPECT_EQ(info.height, 0x111);
    EXPECT_EQ(info.bit_rate, 0x1111 << 2);
    EXPECT_EQ(LogTakeTexts(), Texts(8, kBadOffset));
}

TEST_F(MetavideoTest, SequenceExtensionAddsBitsBehindTheDuration) {
    const std::string header = SequenceHeader(0x0F0, 0x120, 2880);
    // Width bit 13, height bits 13 and 12, bit rate 0xABC above its 18 bits, frame rate times 3 / 5.
    const std::string bytes =
        header + Extension(0x14, 0x01, 0x60 | 0xABC >> 7, (0xABC & 0x7F) << 1 | 1, 0x44) + GroupOfPictures();
    Opened file(bytes);
    MpegSequenceInfo info;
    ASSERT_EQ(MpegParseSequenceHeader(&file.reader, 0, &info), 0);
    EXPECT_EQ(file.reader.version, 2);
    EXPECT_EQ(info.width, 0x20F0);
    EXPECT_EQ(info.height, 0x3120);
    EXPECT_EQ(info.bit_rate, 0xABC << 18 | 2880);
    EXPECT_DOUBLE_EQ(info.frame_rate, 25.0 * 3 / 5);
    EXPECT_DOUBLE_EQ(info.duration, bytes.size() * 8.0 / 1'152'000);
    EXPECT_EQ(Read(bytes).video_bitrate, static_cast<uint32_t>(uint64_t{0xABC << 18 | 2880} * 1000));
}

TEST_F(MetavideoTest, OnlySequenceExtensionsBeforeTheGroupCount) {
    const std::string header = SequenceHeader(352, 288, 2880);
    const std::string sequence = Extension(0x14, 0x01, 0, 0, 0);
    const auto parse = [](const std::string &bytes) {
        Opened file(bytes);
        MpegSequenceInfo info;
        EXPECT_EQ(MpegParseSequenceHeader(&file.reader, 0, &info), 0);
        EXPECT_EQ(file.reader.version == 2, info.width != 352);
        return file.reader.version;
    };
    EXPECT_EQ(parse(header + Extension(0x24, 0x01, 0x60, 0, 0) + GroupOfPictures()), 1);
    EXPECT_EQ(parse(header + GroupOfPictures() + sequence + "tail"s), 1);
    EXPECT_EQ(parse(header + StartCode(0xB2) + "user data"s + sequence + GroupOfPictures()), 2);
    EXPECT_EQ(parse(header + std::string(90'000, 'x') + sequence + GroupOfPictures()), 2);
    EXPECT_EQ(parse(header + std::string(100'000, 'x') + sequence + GroupOfPictures()), 1);
}

// --- The way through a stream

TEST_F(MetavideoTest, HeaderBeyondTheFirst100000BytesIsNotSeen) {
    const std::string tail = SequenceHeader(352, 288, 2880) + std::string(2000, 'x');
    EXPECT_EQ(Read(std::string(99'999, 'x') + tail).width, 352u);
    EXPECT_TRUE(LogTake().empty());

    const Opened file(std::string(100'000, 'x') + tail);
    MediaInfo record;
    memset(&record, 0x55, sizeof record);
    EXPECT_EQ(MpegVideoInfoGet(file.path.c_str(), &record), -1);
    EXPECT_EQ(LogTakeTexts(), (Texts{kNoVideo, kNothing}));
    EXPECT_EQ(record.width | record.height | record.video_bitrate, 0u);
    EXPECT_EQ(record.audio_bitrate | record.sample_rate | record.channels, 0u);
    EXPECT_EQ(record.duration, 0.0F);
    EXPECT_EQ(record.path[0], 0x55);
}

TEST_F(MetavideoTest, EmptyFile) {
    Read("", -1);
    EXPECT_EQ(LogTakeTexts(), (Texts{kBadOffset, kNoVideo, kNothing}));
}

TEST_F(MetavideoTest, FilesThatCannotBeOpenedOrMeasuredLeaveTheRecord) {
    MediaInfo record = {};
    record.width = 5;
    EXPECT_EQ(MpegVideoInfoGet("/tmp/no-such-video.dat", &record), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"metavideo.c# Unable to open /tmp/no-such-video.dat "});
    ASSERT_EQ(mkfifo("/tmp/pipe.dat", 0600), 0);
    EXPECT_EQ(MpegVideoInfoGet("/tmp/pipe.dat", &record), -1);
    EXPECT_EQ(LogTakeTexts(), Texts{"metavideo.c# Unable to seek to end /tmp/pipe.dat "});
    unlink("/tmp/pipe.dat");
    EXPECT_EQ(record.width, 5u);
}

TEST_F(MetavideoTest, AFolderHoldsNoVideo) {
    MediaInfo record = {};
    EXPECT_EQ(MpegVideoInfoGet("/tmp", &record), -1);
    EXPECT_EQ(record.width, 0u);
}

// --- Audio

std::string Stream(const std::string &audio) {
    return PackHeader() + SequenceHeader(352, 288, 2880) + GroupOfPictures() + audio + std::string(100, 'x');
}

TEST_F(MetavideoTest, PacketHeadersOfMpeg1) {
    // A header at the very place where data begins is taken at once. From a byte 0xFF before it, the first sync
    // pattern is a bad one; then, as from any place behind it, the search ends with the rates of the second.
    const std::string data = Frame224() + "junk"s + kHeader128;
    const std::string time = "\xFF\xFF\xFF\xFF"s;
    const std::string headers[] = {
        kNoTime,
        std::string(16, '\xFF') + kNoTime, // stuffing
        "\x60\x20\xFF"s,                   // buffer size
        "\x21"s + time,                    // time stamp
        "\x31"s + time + "\xFF"s + time,   // two
        std::string(3, '\xFF') + "\x60\x20\x31"s + time + "\xFF"s + time,
        std::string(3 * kReaderWindow, '\xFF') + "\x60\x20\x21"s + time,
    };
    for (const std::string &header : headers) {
        const Parsed parsed(Stream(AudioPacket(header, data)));
        EXPECT_EQ(parsed.result, 0);
        EXPECT_EQ(parsed.audio.bit_rate, 224'000) << header.size();
        EXPECT_EQ(parsed.audio.channel_mode, 1);
    }
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(MetavideoTest, BytesBehindTheBufferSizeAreNoSecondOne) {
    // 0x40 0x20 is a size; the 0x40 behind it is an unknown byte, skipped alone.
    const Parsed parsed(Stream(AudioPacket("\x40\x20\x40"s, kHeader128 + Frame224())));
    EXPECT_EQ(parsed.audio.bit_rate, 128'000);
}

TEST_F(MetavideoTest, PesHeadersOfMpeg2AreSkippedByTheirLength) {
    const std::string video =
        PackHeader() + SequenceHeader(352, 288, 2880) + Extension(0x14, 0, 0, 0, 0) + GroupOfPictures();
    // Five bytes of header that hold a frame header of their own.
    const std::string packet = AudioPacket("\x84\x80\x05"s + kHeader128 + "\x11"s, Frame224());
    const Parsed parsed(video + packet + std::string(100, 'x'));
    EXPECT_EQ(parsed.file.reader.version, 2);
    EXPECT_EQ(parsed.audio.bit_rate, 224'000);
    // The same packet without the extension is read by the rules of MPEG-1, into its header.
    EXPECT_EQ(Parsed(Stream(packet)).audio.bit_rate, 128'000);
    // The length counts up to 255.
    const std::string longest(255, 'x');
    EXPECT_EQ(
        Parsed(video + AudioPacket("\x84\x80\xFF"s + longest, Frame224()) + "tail of ten"s).audio.bit_rate,
        224'000);
}

TEST_F(MetavideoTest, AudioPacketFifteenBytesBeforeTheEndIsTheLastLookedAt) {
    const std::string video = SequenceHeader(352, 288, 2880);
    // Too near to the end for a frame header to be found, so that the search's message tells.
    EXPECT_EQ(Parsed(PackHeader() + video + StartCode(0xC0) + std::string(11, 'x')).result, 0);
    EXPECT_EQ(LogTakeTexts(), Texts{kNoAudioHeader});
    EXPECT_EQ(Parsed(PackHeader() + video + StartCode(0xC0) + std::string(10, 'x')).result, 0);
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(MetavideoTest, AudioBeforeTheVideoIsFound) {
    const Parsed parsed(PackHeader() + AudioPacket(kNoTime, Frame224()) + SequenceHeader(352, 288, 2880) +
                        "tail"s);
    EXPECT_EQ(parsed.audio.bit_rate, 224'000);
}

TEST_F(MetavideoTest, OtherAudioStreamsAreNotLookedAt) {
    std::string packet = AudioPacket(kNoTime, Frame224());
    packet[3] = '\xC1';
    const Parsed parsed(Stream(packet));
    EXPECT_EQ(parsed.result, 0);
    EXPECT_EQ(parsed.audio.bit_rate, 0);
}

TEST_F(MetavideoTest, TheFirstSyncPatternIsTakenWithoutASecondFrame) {
    EXPECT_EQ(Parsed(Stream(AudioPacket(kNoTime, "junk before" + kHeader128 + "junk"s))).audio.bit_rate,
              128'000);
}

// A header that is no good comes first: from then on a header counts when another follows its frame.
const std::string kBadHeader = "\xFF\xFD\xFF\x44"s;

TEST_F(MetavideoTest, LaterHeadersNeedASecondFrame) {
    const std::string data = kBadHeader + "junk"s + kHeader128 + "junk"s + Frame224() + kHeader224;
    EXPECT_EQ(Parsed(Stream(AudioPacket(kNoTime, data))).audio.bit_rate, 224'000);
}

TEST_F(MetavideoTest, ZerosMayStandBetweenTheTwoFrames) {
    for (size_t zeros : {size_t{1}, size_t{2}, 3 * kReaderWindow}) {
        const std::string data = kBadHeader + Frame224() + std::string(zeros, '\0') + kHeader128;
        EXPECT_EQ(Parsed(Stream(AudioPacket(kNoTime, data))).audio.bit_rate, 224'000) << zeros;
    }
}

TEST_F(MetavideoTest, HeadersThatAreNotConfirmedLeaveTheirRates) {
    // 32000 Hz, 64 kbit/s, mono, but nothing follows its frame.
    const std::string data = kBadHeader + "\xFF\xFD\x48\xC4"s + std::string(600, 'x');
    const MediaInfo record = Read(Stream(AudioPacket(kNoTime, data)));
    EXPECT_EQ(record.audio_bitrate, 64'000'000u);
    EXPECT_EQ(record.sample_rate, 32'000u);
    EXPECT_EQ(record.channels, 3u);
    // One of MPEG-2.5 is given up before its bit rate is completed.
    const MediaInfo half = Read(Stream(AudioPacket(kNoTime, "\xFF\xE3\x40\xC4"s + std::string(600, 'x'))));
    EXPECT_EQ(half.audio_bitrate, 32'000u);
    EXPECT_EQ(half.sample_rate, 11'025u);
}

// --- Costs

int ReadCalls() {
    std::ifstream io("/proc/self/io");
    for (std::string key, value; io >> key >> value;)
        if (key == "syscr:")
            return std::stoi(value);
    ADD_FAILURE() << "no count of reads";
    return 0;
}

TEST_F(MetavideoTest, AFileOfAnySizeCostsAFewReads) {
    const ScratchFile file(Stream(AudioPacket(kNoTime, Frame224())));
    ASSERT_EQ(truncate(file.c_str(), int64_t{1} << 40), 0);
    MediaInfo record = {};
    const int idle = ReadCalls();
    const int before = ReadCalls();
    EXPECT_EQ(MpegVideoInfoGet(file.c_str(), &record), 0);
    const int calls = ReadCalls() - before - (before - idle);
    EXPECT_GT(calls, 0);
    EXPECT_LE(calls, 20);
}

TEST_F(MetavideoTest, PrefixesWithoutEndLogAndReadLittle) {
    std::string bytes = PackHeader();
    while (bytes.size() < 3'000'000)
        bytes += "\0\0\1\xB5\x1F"s;
    bytes.replace(200, 12, SequenceHeader(352, 288, 2880));
    Read(bytes);
    EXPECT_LE(LogTake().size(), 10u);
}

} // namespace
