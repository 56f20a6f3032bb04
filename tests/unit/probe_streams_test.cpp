// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the probe makes of streams that say little.
#include "container/metamedia.h"

#include "tests/unit/probe_files.h"
#include "tests/unit/test_files.h"

#include <gtest/gtest.h>

namespace {

void ReplaceAll(std::string *text, std::string_view from, std::string_view to) {
    for (size_t at = 0; (at = text->find(from, at)) != std::string::npos; at += to.size())
        text->replace(at, from.size(), to);
}

TEST_F(ProbeTest, DataAloneIsNeitherAudioNorVideo) {
    Write("a.bin", std::string(3000, 'd'));
    const std::string path = Make("a.ts", "-f data -i a.bin -map 0 -c copy");
    EXPECT_EQ(1, Get(path));
    EXPECT_EQ(ProbeFailure("", path), LogTakeTexts());
}

TEST_F(ProbeTest, VideoWithoutASizeIsVideoAndLeavesTheSize) {
    std::string film = FileRead(
        Make("a.avi", kPicture + std::string(" ") + kTone + kTags + "-c:v mpeg4 -vtag XVID -c:a pcm_s16le"));
    ReplaceAll(&film, "XVID", "none"); // nobody knows this codec, so that nobody looks into its frames
    ReplaceAll(&film, std::string("\x40\1\0\0\xF0\0\0\0", 8), std::string(8, '\0'));
    ReplaceAll(&film, std::string("\x40\1\xF0\0", 4), std::string(4, '\0'));
    const std::string path = Write("b.avi", film);
    record = std::make_unique<MediaInfo>();
    record->width = 11;
    record->height = 12;
    EXPECT_EQ(0, MiscMediaInfoGet(path.c_str(), record.get()));
    EXPECT_EQ(11U, record->width);
    EXPECT_EQ(12U, record->height);
    EXPECT_EQ(705600U, record->audio_bitrate);
    EXPECT_STREQ("", record->album) << "it is a film";
}

TEST_F(ProbeTest, OnlyTheRateOfTheFileAndItsLengthAreTakenWhenUnknown) {
    // A live stream: neither length nor rate are known.
    Shell("cd " + std::string(folder) + " && ffmpeg -v error -nostdin " + kTone +
          " -c:a flac -f matroska - | cat > a.mka");
    record = std::make_unique<MediaInfo>();
    record->video_bitrate = 1;
    record->audio_bitrate = 2;
    record->duration = 3;
    record->track = 4;
    record->year = 5;
    strcpy(record->genre, "genre");
    EXPECT_EQ(0, MiscMediaInfoGet(Path("a.mka").c_str(), record.get()));
    EXPECT_EQ(0U, record->video_bitrate);
    EXPECT_EQ(2U, record->audio_bitrate);
    EXPECT_EQ(0.0F, record->duration);
    EXPECT_EQ(0, record->track);
    EXPECT_EQ(5, record->year);
    EXPECT_STREQ("genre", record->genre);
    EXPECT_EQ(44100U, record->sample_rate);
}

} // namespace
