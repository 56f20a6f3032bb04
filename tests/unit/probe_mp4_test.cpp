// SPDX-License-Identifier: GPL-2.0-or-later
//
// MP4 files as their own reader and the probe see them together.
#include "catalogue/indexers.h"

#include "tests/unit/probe_files.h"
#include "tests/unit/test_files.h"

#include <gtest/gtest.h>

namespace {

using Row = std::map<std::string, std::string>;

// The row of a file once it is indexed.
Row Indexed(const std::string &path, int expected = 0) {
    SandboxReset();
    EXPECT_EQ(expected, Mp4FileIndex(path.c_str()));
    return MediaRow("music", path);
}

TEST_F(ProbeTest, AnMp4FilesAudioIsThatOfTheProbe) {
    // The sample entry says 2 channels whatever there are, and the time scale need not be the rate.
    std::string song = FileRead(Make("a.m4a", std::string(kTone) + " -c:a aac -b:a 64k -ac 1"));
    const size_t header = song.find("mdhd");
    ASSERT_NE(std::string::npos, header);
    song.replace(header + 16, 8, std::string("\0\0\2\x58\0\0\x17\x70", 8)); // 6000 at 600 a second
    const std::string path = Write("b.m4a", song);
    MediaInfo reader = {};
    ASSERT_EQ(0, Mp4MediaInfoGet(path.c_str(), &reader));
    EXPECT_EQ(2U, reader.channels);
    EXPECT_EQ(600U, reader.sample_rate);
    Row row = Indexed(path);
    EXPECT_EQ("1", row["channels"]);
    EXPECT_EQ("44100", row["sample_rate"]);
    EXPECT_NE(std::to_string(reader.audio_bitrate), row["audio_bitrate"]);
    SandboxReset();
}

TEST_F(ProbeTest, TheProbeKnowsTheLengthOfFragments) {
    const std::string path =
        Make("a.m4a", "-f lavfi -i sine=r=44100:d=3 -c:a aac -movflags frag_keyframe+empty_moov");
    MediaInfo reader = {};
    ASSERT_EQ(0, Mp4MediaInfoGet(path.c_str(), &reader));
    EXPECT_EQ(0.0F, reader.duration);
    EXPECT_EQ("3", Indexed(path)["duration"]);
    SandboxReset();
}

TEST_F(ProbeTest, OnlyTheAudioOfTheProbeIsTaken) {
    const std::string path =
        Make("a.mp4", kPicture + std::string(" ") + kTone + kTags + "-c:v mpeg4 -c:a aac");
    MediaInfo reader = {};
    ASSERT_EQ(0, Mp4MediaInfoGet(path.c_str(), &reader));
    MediaInfo probed = {};
    ASSERT_EQ(0, MiscMediaInfoGet(path.c_str(), &probed));
    ASSERT_NE(reader.video_bitrate, probed.video_bitrate);
    Row row = Indexed(path);
    EXPECT_EQ(std::to_string(reader.video_bitrate), row["video_bitrate"]);
    EXPECT_EQ("320", row["width"]);
    EXPECT_EQ("240", row["height"]);
    EXPECT_EQ("0", row["year"]) << "a year is a number alone, whatever the probe makes of it";
    SandboxReset();
}

// An audio file under another name: the reader says nothing of it, the probe a lot.
TEST_F(ProbeTest, WhatIsNoMp4HasTheProbesAudio) {
    const std::string path = Path("a.m4a");
    ASSERT_EQ(0, rename(Make("a.wav", std::string(kTone) + " -ac 2").c_str(), path.c_str()));
    Row row = Indexed(path, 1);
    EXPECT_EQ("a", row["title"]);
    EXPECT_EQ("1411200", row["audio_bitrate"]);
    EXPECT_EQ("44100", row["sample_rate"]);
    EXPECT_EQ("2", row["channels"]);
    EXPECT_EQ("1", row["duration"]);
    EXPECT_EQ("0", row["video_bitrate"]);
    SandboxReset();
}

} // namespace
