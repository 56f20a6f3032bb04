// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of MPEG video on files that an encoder of today writes, and on one as a Video CD's data track
// comes off the disc.
#include <gtest/gtest.h>

#include <filesystem>

#include "container/metavideo.h"
#include "platform/media_record.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/program_output.h"
#include "tests/unit/test_files.h"

using namespace std::string_literals;

namespace {

constexpr char kFolder[] = "/volume1/video/encoded";

class MetavideoEncodedTest : public testing::Test {
protected:
    MetavideoEncodedTest() {
        std::filesystem::create_directories(kFolder);
        LogTake();
    }
    ~MetavideoEncodedTest() override {
        EXPECT_TRUE(LogTake().empty());
        std::filesystem::remove_all(kFolder);
    }
};

std::string Encode(const std::string &arguments) {
    const std::string path = kFolder + "/video.dat"s;
    const std::string command =
        "ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=352x288:rate=25:duration=2 "
        "-f lavfi -i sine=frequency=440:sample_rate=44100:duration=2 " +
        arguments + " " + path;
    EXPECT_EQ(ProgramRun(command).status, 0) << command;
    return path;
}

MediaInfo Read(const std::string &path) {
    MediaInfo record = {};
    EXPECT_EQ(MpegVideoInfoGet(path.c_str(), &record), 0);
    return record;
}

struct Expected {
    uint32_t width;
    uint32_t height;
    uint32_t bit_rate; // bit/s
    uint32_t audio_bit_rate;
    uint32_t sample_rate;
    uint32_t channel_mode;
};

void ExpectRecord(const MediaInfo &record, const std::string &path, const Expected &expected) {
    EXPECT_EQ(record.width, expected.width);
    EXPECT_EQ(record.height, expected.height);
    EXPECT_EQ(record.video_bitrate, expected.bit_rate / 400 * 1000);
    EXPECT_EQ(record.audio_bitrate, expected.audio_bit_rate * 1000);
    EXPECT_EQ(record.sample_rate, expected.sample_rate);
    EXPECT_EQ(record.channels, expected.channel_mode);
    const auto bits = static_cast<double>(std::filesystem::file_size(path)) * 8;
    EXPECT_FLOAT_EQ(record.duration, static_cast<float>(bits / expected.bit_rate));
}

constexpr Expected kVideoCd = {352, 288, 1'150'000, 224'000, 44'100, 0};
constexpr char kMpeg1[] = "-c:v mpeg1video -b:v 1152k -maxrate 1152k -bufsize 320k ";

TEST_F(MetavideoEncodedTest, VideoCd) {
    const std::string path = Encode("-target pal-vcd");
    ExpectRecord(Read(path), path, kVideoCd);
}

// Sectors of 2352 bytes, of which 2324 are the stream's, behind a RIFF header: as systems show the file.
TEST_F(MetavideoEncodedTest, VideoCdWithItsSectors) {
    const std::string path = Encode("-target pal-vcd");
    const std::string stream = FileRead(path);
    std::string disc = "RIFF\x24\x08\x00\x00"
                       "CDXAfmt \x10\0\0\0"s +
                       std::string(16, '\0') + "data\0\x08\0\0"s;
    for (size_t at = 0; at < stream.size(); at += 2324) {
        disc += "\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\0"s + "\0\2\0\2\1\1\x62\x0F\1\1\x62\x0F"s;
        disc += stream.substr(at, 2324);
        disc += std::string(4, '\0');
    }
    FileWrite(path, disc);
    ExpectRecord(Read(path), path, kVideoCd);
}

TEST_F(MetavideoEncodedTest, SuperVideoCd) {
    const std::string path = Encode("-target pal-svcd -ac 2");
    ExpectRecord(Read(path), path, {480, 576, 2'516'000, 224'000, 44'100, 0});
}

TEST_F(MetavideoEncodedTest, VideoObject) {
    const std::string path = Encode("-target pal-dvd -c:a mp2 -b:a 192k -ac 2");
    ExpectRecord(Read(path), path, {720, 576, 9'000'000, 192'000, 48'000, 0});
}

TEST_F(MetavideoEncodedTest, ProgramStreamWithMonoSound) {
    const std::string path = Encode(kMpeg1 + "-c:a mp2 -b:a 128k -ac 1 -f mpeg"s);
    ExpectRecord(Read(path), path, {352, 288, 1'152'000, 128'000, 44'100, 3});
}

TEST_F(MetavideoEncodedTest, ElementaryStream) {
    const std::string path = Encode("-map 0:v "s + kMpeg1 + "-f mpeg1video");
    ExpectRecord(Read(path), path, {352, 288, 1'152'000, 0, 0, 0});
}

} // namespace
