// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/metaid3.h"

#include "log_catcher.h"
#include "mp3_bytes.h"
#include "platform/veluindex.h"

#include <string.h>

#include <filesystem>

using namespace mp3_bytes;

namespace {

const std::string kLatin("\0", 1);

class Mp3Info : public testing::Test {
protected:
    void TearDown() override { std::filesystem::remove_all("/var/lib/velu/covers"); }

    int Get(const std::string &bytes) {
        const SongFile song(bytes);
        record = {};
        return Mp3InfoGet(song.path.c_str(), &record);
    }

    static std::string Folder() {
        char path[4096] = "";
        EXPECT_EQ(GetCoverFolder("/volume1/music/song.mp3", path, sizeof path), 1);
        return path;
    }

    MediaInfo record = {};
};

std::string Covered() {
    return Tag(3, Frame23("APIC", Picture("image/jpeg", 3, kJpeg)) + Frame23("TIT2", kLatin + "t"));
}

TEST_F(Mp3Info, FileWithoutTags) {
    ASSERT_EQ(Get(Frames(3)), 0);
    EXPECT_FLOAT_EQ(record.duration, static_cast<float>(417 * 3 / 128.0 * 0.008));
    EXPECT_EQ(record.audio_bitrate, 128000u);
    EXPECT_EQ(record.sample_rate, 44100u);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_STREQ(record.title, "");
}

// 11511 frames are 4800087 bytes; what is too much goes from the last one.
TEST_F(Mp3Info, DurationCountsTheId3v2TagButNotId3v1) {
    const std::string audio = Frames(11511).substr(0, 4800000);
    ASSERT_EQ(Get(audio), 0);
    EXPECT_FLOAT_EQ(record.duration, 300);
    ASSERT_EQ(Get(audio + Id3v1("title")), 0);
    EXPECT_FLOAT_EQ(record.duration, 300);
    EXPECT_STREQ(record.title, "title");
    ASSERT_EQ(Get(Tag(3, std::string(99990, '\0')) + audio), 0);
    EXPECT_FLOAT_EQ(record.duration, 306.25);
}

TEST_F(Mp3Info, BothTagsAndACover) {
    ASSERT_EQ(Get(Covered() + Frames(3) + Id3v1("old title" + std::string(21, '\0') + "artist")), 0);
    EXPECT_STREQ(record.title, "t");
    EXPECT_STREQ(record.artist, "artist");
    EXPECT_EQ(record.has_cover, 1);
    EXPECT_EQ(Contents(Folder() + "/3_1.jpg"), kJpeg);
}

TEST_F(Mp3Info, TheFirstPictureThatCanBeStoredIsTheCover) {
    const std::string tag = Tag(3, Frame23("APIC", Picture("image/gif", 3, kJpeg)) +
                                       Frame23("APIC", Picture("image/png", 4, kJpeg)) +
                                       Frame23("APIC", Picture("image/jpeg", 3, kJpeg)));
    ASSERT_EQ(Get(tag + Frames(3)), 0);
    EXPECT_EQ(record.has_cover, 1);
    EXPECT_TRUE(Exists(Folder() + "/4_1.png"));
    EXPECT_FALSE(Exists(Folder() + "/3_1.jpg"));
}

// Each picture that is no good is logged, up to a bound.
TEST_F(Mp3Info, PicturesAreTriedUpToABound) {
    const std::string bad = Frame23("APIC", Picture("image/gif", 3, kJpeg));
    const std::string good = Frame23("APIC", Picture("image/jpeg", 3, kJpeg));
    for (const int count : {kId3PicturesMax - 1, kId3PicturesMax}) {
        std::string frames;
        for (int i = 0; i < count; ++i)
            frames += bad;
        LogCatcher log;
        ASSERT_EQ(Get(Tag(3, frames + good + bad + Frame23("TIT2", kLatin + "t")) + Frames(3)), 0);
        EXPECT_EQ(record.has_cover, count < kId3PicturesMax ? 1 : 0);
        EXPECT_EQ(Exists(Folder()), count < kId3PicturesMax);
        EXPECT_EQ(log.Lines(") Wrong MIME type").size(), static_cast<size_t>(count));
        EXPECT_STREQ(record.title, "t");
    }
}

TEST_F(Mp3Info, EarlierCoversGo) {
    ASSERT_EQ(Get(Covered() + Frames(3)), 0);
    ASSERT_EQ(Get(Frames(3)), 0);
    EXPECT_EQ(record.has_cover, 0);
    EXPECT_FALSE(Exists(Folder()));
}

TEST_F(Mp3Info, VersionsZeroAndOneReadNoFramesButAreSkipped) {
    for (int version : {0, 1}) {
        ASSERT_EQ(Get(Tag(version, Frame23("TIT2", kLatin + "t") + Frames(2) + "x") +
                      Frames(3).replace(2, 1, "\xB0")),
                  0);
        EXPECT_STREQ(record.title, "");
        EXPECT_EQ(record.audio_bitrate, 128000u);
    }
    ASSERT_EQ(Get(Tag(2, Frame22("TT2", kLatin + "t")) + Frames(3)), 0);
    EXPECT_STREQ(record.title, "t");
}

TEST_F(Mp3Info, XingGoesBeforeVbri) {
    std::string audio = Frames(60);
    audio.replace(36, 16, "Xing" + Big32(1) + Big32(10000) + Big32(0));
    audio.replace(60, 18, "VBRI" + std::string(6, '\0') + Big32(1000) + Big32(100));
    ASSERT_EQ(Get(audio), 0);
    EXPECT_NEAR(record.duration, 261.2245, 0.001);
    EXPECT_EQ(record.audio_bitrate, 128000u);
    audio.replace(40, 4, Big32(2)); // no frame count: VBRI is used
    ASSERT_EQ(Get(audio), 0);
    EXPECT_NEAR(record.duration, 100 * 1152 / 44100.0, 0.001);
    EXPECT_EQ(record.audio_bitrate, 3062u);
}

TEST_F(Mp3Info, FilesWithoutTwoFramesInARowAreNotRead) {
    LogCatcher log;
    const std::string mpeg25 = "\xFF\xE3\x90\x00"s + std::string(200, 'a');
    const std::string free_format = "\xFF\xFB\x00\x00"s + std::string(200, 'a');
    for (const std::string &audio :
         {mpeg25 + mpeg25 + mpeg25, free_format + free_format, Frame() + "x" + std::string(100, 'a'),
          Frame() + "\0"s + Frame() + "\0"s}) {
        ASSERT_EQ(Get(Covered() + audio + Id3v1("title")), -1);
        std::string line = log.Next();
        if (line.find(") MPEG Header not found") != std::string::npos)
            line = log.Next();
        EXPECT_NE(line.find(") Can't find valid mpeg header: /volume1/music/song.mp3"), std::string::npos)
            << line;
        EXPECT_TRUE(log.Quiet());
        const MediaInfo untouched = {};
        EXPECT_EQ(memcmp(&record, &untouched, sizeof record), 0);
        EXPECT_FALSE(Exists(Folder())); // the cover that the tag had is gone again
    }
}

TEST_F(Mp3Info, SmallFiles) {
    for (size_t size : {0u, 1u, 9u, 10u, 11u, 14u})
        EXPECT_EQ(Get((kHeader + kHeader + kHeader + kHeader).substr(0, size)), -1);
}

TEST_F(Mp3Info, ALastFrameThatEndsWithTheFileDoesNotCount) {
    // Filler makes no sync pattern.
    EXPECT_EQ(Get(Frame()), -1);
    // Of the next header, two bytes are enough: filler is a bit rate and a sample rate.
    EXPECT_EQ(Get(Frame() + kHeader.substr(0, 2)), 0);
    EXPECT_EQ(Get(Frame() + kHeader.substr(0, 1)), -1);
}

TEST_F(Mp3Info, FailuresAreLogged) {
    LogCatcher log;
    EXPECT_EQ(Mp3InfoGet(nullptr, &record), -1);
    EXPECT_NE(log.Next().find(") Bad parameters."), std::string::npos);
    EXPECT_EQ(Mp3InfoGet("/volume1/music/song.mp3", nullptr), -1);
    EXPECT_NE(log.Next().find(") Bad parameters."), std::string::npos);
    EXPECT_EQ(Mp3InfoGet("/volume1/music/none.mp3", &record), -1);
    std::string line = log.Next();
    EXPECT_TRUE(line.ends_with(") Unable to open /volume1/music/none.mp3 ")) << line;
    // A pipe does not make the daemon wait.
    ASSERT_EQ(mkfifo("/volume1/music/pipe.mp3", 0644), 0);
    EXPECT_EQ(Mp3InfoGet("/volume1/music/pipe.mp3", &record), -1);
    line = log.Next();
    EXPECT_TRUE(line.ends_with(") Unable to seek to end /volume1/music/pipe.mp3 ")) << line;
    unlink("/volume1/music/pipe.mp3");
}

} // namespace
