// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/veluindex.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

// Every extension that is indexed at all, so that a class can be tested for what it leaves out as well.
const std::set<std::string> kIndexed = {
    "mp3", "mp1",  "mp2",  "mpa", "wma", "wav", "ogg",  "m4a", "aac",  "ac3",    "ram",  "ra",
    "m4p", "flac", "aiff", "aif", "pcm", "m4b", "ape",  "m3u", "wpl",  "avi",    "mpg",  "mpeg",
    "dat", "asf",  "wmv",  "vob", "mov", "rm",  "rmvb", "mp4", "divx", "xvid",   "flv",  "mkv",
    "ts",  "m2ts", "m2t",  "mts", "m4v", "3gp", "3g2",  "qt",  "swf",  "dvr-ms", "iso",  "ifo",
    "srt", "ass",  "ssa",  "idx", "sub", "smi", "psb",  "trp", "tp",   "jpg",    "jpeg", "jpe",
    "bmp", "gif",  "ico",  "png", "psd", "tif", "tiff", "ufo"};

std::set<std::string> ClassOf(int (*is_in_class)(const char *)) {
    std::set<std::string> members;
    for (const std::string &extension : kIndexed)
        if (is_in_class(extension.c_str()) == 1)
            members.insert(extension);
    return members;
}

} // namespace

TEST(ExtGet, TextAfterTheLastDotWithinThePath) {
    const std::string path = "/volume1/music/a.b.mp3";
    const char *extension = VELUIndexExtGet(path.c_str());
    EXPECT_STREQ(extension, "mp3");
    EXPECT_EQ(extension, path.c_str() + path.size() - 3);
    EXPECT_STREQ(VELUIndexExtGet(".mp3"), "mp3");
}

TEST(ExtGet, NoneWithoutADotOrBehindIt) {
    EXPECT_EQ(VELUIndexExtGet(nullptr), nullptr);
    EXPECT_EQ(VELUIndexExtGet(""), nullptr);
    EXPECT_EQ(VELUIndexExtGet("/volume1/music/song"), nullptr);
    EXPECT_EQ(VELUIndexExtGet("/volume1/music/song."), nullptr);
    EXPECT_EQ(VELUIndexExtGet("song.mp3."), nullptr);
}

TEST(ExtGet, DotOfADirectoryGivesWhatNoClassKnows) {
    const char *extension = VELUIndexExtGet("/volume1/photo/a.jpg/file");
    EXPECT_STREQ(extension, "jpg/file");
    EXPECT_EQ(BlVELUIndexIsPhotoOnWeb(extension), 0);
}

TEST(ExtensionClass, Jpeg) {
    EXPECT_EQ(ClassOf(BlVELUIndexIsJpeg), (std::set<std::string>{"jpg", "jpeg", "jpe"}));
}

TEST(ExtensionClass, PhotoOnWeb) {
    EXPECT_EQ(ClassOf(BlVELUIndexIsPhotoOnWeb),
              (std::set<std::string>{"jpg", "jpeg", "jpe", "bmp", "gif", "ico", "png", "psd", "tif", "tiff",
                                     "ufo"}));
}

TEST(ExtensionClass, VideoOnWeb) {
    EXPECT_EQ(ClassOf(BlVELUIndexIsVideoOnWeb),
              (std::set<std::string>{"avi", "mpg", "mpeg", "mp4", "m4v", "mov", "qt", "wmv", "asf", "3gp",
                                     "3g2", "flv", "divx", "xvid"}));
}

TEST(ExtensionClass, VideoIsAllThatIsNeitherAudioNorPlaylistNorPhoto) {
    std::set<std::string> expected = kIndexed;
    for (const char *other : {"mp3",  "mp1", "mp2",  "mpa",  "wma", "wav", "ogg", "m4a", "aac",  "ac3", "ram",
                              "ra",   "m4p", "flac", "aiff", "aif", "pcm", "m4b", "ape", "m3u",  "wpl", "jpg",
                              "jpeg", "jpe", "bmp",  "gif",  "ico", "png", "psd", "tif", "tiff", "ufo"})
        expected.erase(other);
    EXPECT_EQ(expected.size(), 36U);
    EXPECT_EQ(ClassOf(BlVELUIndexIsVideo), expected);
}

TEST(ExtensionClass, CaseDoesNotMatter) {
    EXPECT_EQ(BlVELUIndexIsJpeg("JPG"), 1);
    EXPECT_EQ(BlVELUIndexIsJpeg("JpEg"), 1);
    EXPECT_EQ(BlVELUIndexIsVideo("DVR-MS"), 1);
    EXPECT_EQ(BlVELUIndexIsVideo("M2TS"), 1);
}

TEST(ExtensionClass, OnlyWholeExtensionsCount) {
    for (const char *other :
         {"", "j", "jp", "jpgx", " jpg", "jpg ", ".jpg", "J\xCFG", "dvr_ms", "dvr-m", "dvr\rms"}) {
        EXPECT_EQ(BlVELUIndexIsJpeg(other), 0) << other;
        EXPECT_EQ(BlVELUIndexIsPhotoOnWeb(other), 0) << other;
        EXPECT_EQ(BlVELUIndexIsVideo(other), 0) << other;
        EXPECT_EQ(BlVELUIndexIsVideoOnWeb(other), 0) << other;
    }
}

TEST(ExtensionClass, NoExtensionIsInNoClass) {
    EXPECT_EQ(BlVELUIndexIsJpeg(nullptr), 0);
    EXPECT_EQ(BlVELUIndexIsPhotoOnWeb(nullptr), 0);
    EXPECT_EQ(BlVELUIndexIsVideo(nullptr), 0);
    EXPECT_EQ(BlVELUIndexIsVideoOnWeb(nullptr), 0);
    EXPECT_EQ(BlVELUIndexIsPhotoOnWebFile(nullptr), 0);
    EXPECT_EQ(BlVELUIndexIsVideoOnWebFile("/volume1/video/film"), 0);
}

TEST(ExtensionClass, FileFormsLookAtThePath) {
    EXPECT_EQ(BlVELUIndexIsPhotoOnWebFile("/volume1/photo/a.b.TIFF"), 1);
    EXPECT_EQ(BlVELUIndexIsPhotoOnWebFile("/volume1/photo/jpg"), 0);
    EXPECT_EQ(BlVELUIndexIsVideoOnWebFile("/volume1/photo/film.MoV"), 1);
    EXPECT_EQ(BlVELUIndexIsVideoOnWebFile("/volume1/photo/film.mkv"), 0);
}
