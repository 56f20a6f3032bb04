// SPDX-License-Identifier: GPL-2.0-or-later
//
// Ogg and ASF: what they hold decides.
#include <gtest/gtest.h>

#include "platform/limits.h"
#include "tests/unit/content_look.h"

namespace {

using namespace std::string_literals;

std::string OggPage(const std::string &packet, char flags = 2) {
    return "OggS\0"s + flags + std::string(20, '\0') + '\1' + static_cast<char>(packet.size()) + packet;
}

const std::string kSkeleton = OggPage("fishead\0abc"s);
const std::string kTheora = OggPage("\x80theora\3\2\1"s);
const std::string kOpus = OggPage("OpusHead\1\2");

TEST(ContentOgg, TheFirstStreamsDecide) {
    EXPECT_EQ(ContentFormat::ogg_opus, LookAt(kOpus));
    EXPECT_EQ(ContentFormat::ogg_vorbis, LookAt(OggPage("\x01vorbis\0\0"s)));
    EXPECT_EQ(ContentFormat::ogg_speex, LookAt(OggPage("Speex   1.2")));
    EXPECT_EQ(ContentFormat::ogg_flac, LookAt(OggPage("\x7F"
                                                      "FLAC\1\0")));
    EXPECT_EQ(ContentFormat::film, LookAt(kTheora));
    EXPECT_EQ(ContentFormat::ogg_opus, LookAt(kSkeleton + kOpus));
    EXPECT_EQ(ContentFormat::film, LookAt(kSkeleton + kOpus + kTheora));
    EXPECT_EQ(ContentFormat::ogg_opus, LookAt(kOpus + OggPage("OpusTags", 0) + kTheora));
    EXPECT_EQ(ContentFormat::other_sound, LookAt(OggPage("\x01"
                                                         "audio\0\0\0"s)));
    EXPECT_EQ(ContentFormat::film, LookAt(OggPage("what")));
    EXPECT_EQ(ContentFormat::film, LookAt("OggS"));
}

TEST(ContentOgg, StreamsAreCounted) {
    std::string texts;
    for (uint32_t i = 1; i < kContentStreamsMax; ++i)
        texts += OggPage("\x80kate");
    EXPECT_EQ(ContentFormat::ogg_opus, LookAt(texts + kOpus));
    EXPECT_EQ(ContentFormat::film, LookAt(texts + OggPage("\x80kate") + kOpus));
}

// --- ASF

std::string Object(const std::string &identifier, const std::string &content) {
    return identifier + LittleBytes(24 + content.size(), 8) + content;
}

const std::string kAudio = "\x40\x9E\x69\xF8\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B"s;
const std::string kVideo = "\xC0\xEF\x19\xBC\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B"s;
const std::string kCommand = "\xC0\xCF\xDA\x59\xE6\x59\xD0\x11\xA3\xAC\x00\xA0\xC9\x03\x48\xF6"s;

std::string Stream(const std::string &kind) {
    return Object("\x91\x07\xDC\xB7\xB7\xA9\xCF\x11\x8E\xE6\x00\xC0\x0C\x20\x53\x65"s,
                  kind + std::string(38, '\0'));
}

// With a name of a stream and a payload extension system in front of the stream.
std::string Extended(const std::string &stream) {
    return Object("\xCB\xA5\xE6\x14\x72\xC6\x32\x43\x83\x99\xA9\x69\x52\x06\x5B\x5A"s,
                  std::string(60, '\0') + LittleBytes(1, 2) + LittleBytes(1, 2) + LittleBytes(0, 2) +
                      LittleBytes(4, 2) + "name" + std::string(18, '\0') + LittleBytes(3, 4) + "abc" +
                      stream);
}

std::string Extension(const std::string &objects) {
    return Object("\xB5\x03\xBF\x5F\x2E\xA9\xCF\x11\x8E\xE3\x00\xC0\x0C\x20\x53\x65"s,
                  std::string(22, '\0') + objects);
}

std::string Asf(const std::string &objects) {
    return "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"s +
           LittleBytes(30 + objects.size(), 8) + LittleBytes(1, 4) + "\1\2" + objects;
}

TEST(ContentAsf, StreamsDecide) {
    EXPECT_EQ(ContentFormat::asf_sound, LookAt(Asf(Stream(kAudio))));
    EXPECT_EQ(ContentFormat::asf_sound, LookAt(Asf(Stream(kAudio) + Stream(kCommand))));
    EXPECT_EQ(ContentFormat::film, LookAt(Asf(Stream(kAudio) + Stream(kVideo)), "wma"));
    EXPECT_EQ(ContentFormat::film, LookAt(Asf(""), "wma"));
    EXPECT_EQ(ContentFormat::film, LookAt(Asf(Object(std::string(16, 'x'), "") + Stream(kVideo))));
}

TEST(ContentAsf, StreamsInTheExtensionCount) {
    EXPECT_EQ(ContentFormat::asf_sound, LookAt(Asf(Extension(Extended(Stream(kAudio))))));
    EXPECT_EQ(ContentFormat::film, LookAt(Asf(Stream(kAudio) + Extension(Extended(Stream(kVideo))))));
}

TEST(ContentAsf, ObjectsAreCountedAndDoNotLie) {
    std::string fillers;
    for (uint32_t i = 1; i < kContentBoxesMax; ++i)
        fillers += Object(std::string(16, 'x'), "");
    EXPECT_EQ(ContentFormat::asf_sound, LookAt(Asf(fillers + Stream(kAudio))));
    EXPECT_EQ(ContentFormat::film, LookAt(Asf(fillers + Object(std::string(16, 'x'), "") + Stream(kAudio))));
    EXPECT_EQ(ContentFormat::film, LookAt(Asf(std::string(16, 'x') + LittleBytes(23, 8) + Stream(kAudio))));
    EXPECT_EQ(ContentFormat::film,
              LookAt(Asf(std::string(16, 'x') + std::string(8, '\xFF') + Stream(kAudio))));
}

} // namespace
