// SPDX-License-Identifier: GPL-2.0-or-later
//
// The MP4 reader on files that encoders and taggers of today write. What ffprobe says of the same file is the
// measure.
#include <gtest/gtest.h>

#include <stdio.h>
#include <stdlib.h>

#include <filesystem>
#include <map>

#include "catalogue/media_info.h"
#include "container/mp4_reader.h"
#include "platform/handle.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace {

constexpr char kFolder[] = "/volume1/music/encoded";
constexpr char kSine[] = "-f lavfi -i sine=frequency=440:sample_rate=44100:duration=2.9";
constexpr char kPicture[] = "-f lavfi -i testsrc=size=320x240:rate=10:duration=2.9";

class Mp4EncodedTest : public testing::Test {
protected:
    Mp4EncodedTest() {
        SandboxReset();
        std::filesystem::create_directories(kFolder);
        LogTake();
    }
    ~Mp4EncodedTest() override {
        EXPECT_TRUE(LogTake().empty());
        SandboxReset();
    }
};

std::string Place(const std::string &name) {
    return std::string(kFolder) + "/" + name;
}

void Shell(const std::string &command) {
    ASSERT_EQ(system(("exec </dev/null; " + command).c_str()), 0) << command;
}

// Makes a file by ffmpeg and reads it.
MediaInfo Encoded(const std::string &name, const std::string &arguments) {
    Shell("ffmpeg -v error -y " + arguments + " " + Place(name));
    MediaInfo record = {};
    EXPECT_EQ(Mp4MetadataRead(Place(name).c_str(), &record), 0);
    return record;
}

// The entries of one stream ("a:0", "v:0") by name.
std::map<std::string, double> Probed(const std::string &name, const std::string &stream) {
    using Pipe = std::unique_ptr<FILE, CloseWith<pclose>>;
    const Pipe pipe(popen(("ffprobe -v error -of default=noprint_wrappers=1 -show_entries "
                           "stream=width,height,channels,sample_rate,duration,bit_rate -select_streams " +
                           stream + " " + Place(name))
                              .c_str(),
                          "r"));
    std::map<std::string, double> entries;
    char line[256];
    while (fgets(line, sizeof line, pipe.get()) != nullptr) {
        const std::string text = line;
        const size_t equals = text.find('=');
        entries[text.substr(0, equals)] = atof(text.c_str() + equals + 1);
    }
    return entries;
}

// What ffmpeg writes as a rate into its files it has rounded its own way.
void ExpectRate(uint32_t rate, double probed) {
    EXPECT_NEAR(rate, probed, probed / 50);
}

void ExpectSound(const MediaInfo &record, const std::string &name) {
    auto probed = Probed(name, "a:0");
    EXPECT_EQ(record.sample_rate, probed["sample_rate"]);
    EXPECT_NEAR(record.duration, probed["duration"], 1);
    ExpectRate(record.audio_bitrate, probed["bit_rate"]);
}

void ExpectVideo(const MediaInfo &record, const std::string &name) {
    auto probed = Probed(name, "v:0");
    EXPECT_EQ(record.width, probed["width"]);
    EXPECT_EQ(record.height, probed["height"]);
    ExpectRate(record.video_bitrate, probed["bit_rate"]);
}

} // namespace

TEST_F(Mp4EncodedTest, Aac) {
    const MediaInfo record = Encoded("a.m4a", std::string(kSine) + " -ac 2 -c:a aac -b:a 96k");
    ExpectSound(record, "a.m4a");
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.duration, 2.0F) << "whole seconds";
}

TEST_F(Mp4EncodedTest, TheMovieAtTheFrontOrAtTheEnd) {
    const MediaInfo end = Encoded("a.m4a", std::string(kSine) + " -c:a aac -b:a 96k -metadata title=Song");
    const MediaInfo front =
        Encoded("b.m4a", std::string(kSine) + " -c:a aac -b:a 96k -metadata title=Song -movflags faststart");
    EXPECT_EQ(end.audio_bitrate, front.audio_bitrate);
    EXPECT_EQ(end.duration, front.duration);
    EXPECT_STREQ(end.title, "Song");
    EXPECT_STREQ(front.title, "Song");
}

TEST_F(Mp4EncodedTest, Alac) {
    const MediaInfo record = Encoded("a.m4a", std::string(kSine) + " -c:a alac");
    ExpectSound(record, "a.m4a");
    EXPECT_EQ(record.channels, Probed("a.m4a", "a:0")["channels"]);
}

TEST_F(Mp4EncodedTest, Ac3) {
    const MediaInfo record = Encoded("a.mp4", std::string(kSine) + " -ac 2 -c:a ac3 -b:a 192k");
    ExpectSound(record, "a.mp4");
    EXPECT_EQ(record.channels, 2u);
}

TEST_F(Mp4EncodedTest, PcmInQuickTime) {
    for (const char *codec : {"pcm_s16le", "pcm_s16be", "pcm_s24le", "pcm_f32le", "pcm_u8"}) {
        const MediaInfo record = Encoded("a.mov", std::string(kSine) + " -ac 2 -c:a " + codec);
        ExpectSound(record, "a.mov");
        EXPECT_EQ(record.channels, 2u) << codec;
    }
}

TEST_F(Mp4EncodedTest, H264AndAac) {
    const MediaInfo record =
        Encoded("a.mp4", std::string(kPicture) + " " + kSine + " -c:v libx264 -preset ultrafast -c:a aac");
    ExpectSound(record, "a.mp4");
    ExpectVideo(record, "a.mp4");
    EXPECT_EQ(record.width, 320u);
}

TEST_F(Mp4EncodedTest, Hevc) {
    const MediaInfo record = Encoded(
        "a.mp4", std::string(kPicture) + " -c:v libx265 -preset ultrafast -x265-params log-level=none");
    ExpectVideo(record, "a.mp4");
    EXPECT_EQ(record.height, 240u);
}

TEST_F(Mp4EncodedTest, AFragmentedFileSaysNoDuration) {
    const MediaInfo record = Encoded("a.mp4", std::string(kPicture) + " " + kSine +
                                                  " -c:v libx264 -preset ultrafast -g 5 -c:a aac "
                                                  "-movflags frag_keyframe+empty_moov");
    EXPECT_EQ(record.duration, 0.0F);
    EXPECT_EQ(record.width, 320u);
    EXPECT_EQ(record.sample_rate, 44100u);
}

TEST_F(Mp4EncodedTest, EditListsDoNotCount) {
    Encoded("whole.mp4", std::string(kPicture) + " -c:v libx264 -preset ultrafast -g 100");
    // Copying from within the only group of pictures keeps it all and hides its first part by an edit list.
    const MediaInfo record = Encoded("a.mp4", "-ss 1.5 -i " + Place("whole.mp4") + " -c copy");
    EXPECT_NE(FileRead(Place("a.mp4")).find("elst"), std::string::npos);
    EXPECT_EQ(record.duration, 2.0F);
}

TEST_F(Mp4EncodedTest, ChaptersAreNoTrackOfTheRecord) {
    FileWrite(Place("chapters.txt"),
              ";FFMETADATA1\ntitle=Book\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=1000\n"
              "title=One\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=1000\nEND=2900\ntitle=Two\n");
    const MediaInfo record =
        Encoded("a.m4b", std::string(kSine) + " -i " + Place("chapters.txt") +
                             " -map 0 -map_metadata 1 -map_chapters 1 -c:a aac -b:a 96k -f mp4");
    ExpectSound(record, "a.m4b");
    EXPECT_STREQ(record.title, "Book");
    EXPECT_EQ(record.width, 0u);
}

TEST_F(Mp4EncodedTest, TagsByATagger) {
    Encoded("a.m4a", std::string(kSine) + " -c:a aac");
    Shell("/usr/bin/python3 -c 'from mutagen.mp4 import MP4\n"
          "f = MP4(\"" +
          Place("a.m4a") +
          "\")\n"
          "f[\"\\xa9nam\"] = \"\\u30bf\\u30a4\\u30c8\\u30eb\"; f[\"\\xa9ART\"] = [\"One\", \"Two\"]\n"
          "f[\"\\xa9alb\"] = \"Album\"; f[\"\\xa9cmt\"] = \"Comment\"; f[\"\\xa9wrt\"] = \"Writer\"\n"
          "f[\"\\xa9gen\"] = \"Genre\"; f[\"\\xa9day\"] = \"2008\"\n"
          "f[\"trkn\"] = [(7, 12)]; f[\"disk\"] = [(2, 3)]\n"
          "f[\"----:com.apple.iTunes:NOTE\"] = b\"free form\"\n"
          "f.save()'");
    MediaInfo record = {};
    ASSERT_EQ(Mp4MetadataRead(Place("a.m4a").c_str(), &record), 0);
    EXPECT_STREQ(record.title, "\u30bf\u30a4\u30c8\u30eb");
    EXPECT_STREQ(record.artist, "One");
    EXPECT_STREQ(record.album, "Album");
    EXPECT_STREQ(record.comment, "Comment");
    EXPECT_STREQ(record.composer, "Writer");
    EXPECT_STREQ(record.genre, "Genre");
    EXPECT_EQ(record.year, 2008);
    EXPECT_EQ(record.track, 7);
    EXPECT_EQ(record.disc, 2);
}

TEST_F(Mp4EncodedTest, CoversByATagger) {
    Encoded("a.m4a", std::string(kSine) + " -c:a aac");
    for (const char *format : {"JPEG", "PNG"}) {
        const std::string extension = format == std::string("PNG") ? "png" : "jpg";
        const std::string picture = Place("cover." + extension);
        Shell("ffmpeg -v error -y -f lavfi -i testsrc=size=64x48 -frames:v 1 -update 1 " + picture);
        Shell("/usr/bin/python3 -c 'from mutagen.mp4 import MP4, MP4Cover\n"
              "f = MP4(\"" +
              Place("a.m4a") +
              "\")\n"
              "f[\"covr\"] = [MP4Cover(open(\"" +
              picture + "\", \"rb\").read(), MP4Cover.FORMAT_" + format +
              ")]\n"
              "f.save()'");
        MediaInfo record = {};
        ASSERT_EQ(Mp4MetadataRead(Place("a.m4a").c_str(), &record), 0);
        EXPECT_EQ(record.has_cover, 1);
        char folder[kMediaPathSize];
        ASSERT_EQ(GetCoverFolder(Place("a.m4a").c_str(), folder, sizeof folder), 1);
        EXPECT_EQ(FileRead(std::string(folder) + "/3_1." + extension), FileRead(picture));
    }
}
