// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/boxes.h"

#include <gtest/gtest.h>

#include "platform/limits.h"
#include "tests/unit/content_look.h"
#include "tests/unit/mp4_boxes.h"

namespace {

std::string Brands(std::string_view major, std::string_view compatible = "isom") {
    return BoxBytes("ftyp", std::string(major) + Zeros(4) + std::string(compatible));
}

std::string Movie(std::string_view tracks) {
    return BoxBytes("moov", MovieHeader() + std::string(tracks));
}

const std::string kMedia = BoxBytes("mdat", std::string(50'000, 'x'));

std::string StillTrack(std::string_view coding, const std::vector<uint32_t> &sizes,
                       std::string_view children = {}) {
    TrackParts parts = VideoTrack();
    parts.entries = VideoEntry(coding, 600, 600, children);
    parts.sizes = SizeTable(sizes);
    return Track(parts);
}

// A track of sound whose chapters have pictures in another one.
std::string SoundWithChapters(uint32_t chapters) {
    return BoxBytes("trak", FullBox("tkhd", Zeros(8) + U32(1) + Zeros(68)) +
                                BoxBytes("tref", BoxBytes("chap", U32(chapters))) +
                                BoxBytes("mdia", Handler("soun")));
}

TEST(ContentBoxes, TracksDecide) {
    EXPECT_EQ(ContentFormat::mp4_sound, LookAt(Brands("isom") + Movie(Track()) + kMedia, "mp4"));
    EXPECT_EQ(ContentFormat::film, LookAt(Brands("M4A ") + Movie(Track() + Track(VideoTrack())), "m4a"));
    EXPECT_EQ(ContentFormat::film, LookAt(Brands("isom") + Movie(""), "mp4"));
}

TEST(ContentBoxes, TheHeaderMayComeLast) {
    EXPECT_EQ(ContentFormat::mp4_sound,
              LookAt(Brands("isom") + BoxBytes("free", "") + kMedia + Movie(Track())));
    EXPECT_EQ(ContentFormat::mp4_sound,
              LookAt(Brands("isom") + LargeBox("mdat", std::string(20'000, 'x')) + Movie(Track())));
}

TEST(ContentBoxes, QuickTimeNeedsNoBrand) {
    EXPECT_EQ(ContentFormat::mp4_sound, LookAt(Movie(Track())));
    EXPECT_EQ(ContentFormat::film, LookAt(BoxBytes("wide", "") + kMedia + Movie(Track(VideoTrack()))));
}

TEST(ContentBoxes, WithoutTracksTheBrandDecides) {
    EXPECT_EQ(ContentFormat::mp4_sound, LookAt(Brands("M4B ") + kMedia));
    EXPECT_EQ(ContentFormat::film, LookAt(Brands("isom") + kMedia));
    EXPECT_EQ(ContentFormat::film, LookAt(Brands("isom") + BoxBytes("moof", "") + Movie(Track())));
    EXPECT_EQ(ContentFormat::mp4_sound, LookAt((Brands("M4A ") + kMedia).substr(0, 1000)));
}

TEST(ContentBoxes, PicturesByTheirBrand) {
    EXPECT_EQ(ContentFormat::heif, LookAt(Brands("heic", "mif1") + BoxBytes("meta", Zeros(4))));
    EXPECT_EQ(ContentFormat::heif, LookAt(Brands("avis") + Movie(Track(VideoTrack()))));
    EXPECT_EQ(ContentFormat::heif, LookAt(Brands("abcd", "isommif1") + BoxBytes("meta", Zeros(4))));
    EXPECT_EQ(ContentFormat::film, LookAt(Brands("isom", "mif1") + Movie(Track(VideoTrack()))));
    EXPECT_EQ(ContentFormat::raw, LookAt(Brands("crx ") + Movie(Track(VideoTrack()))));
}

TEST(ContentBoxes, ACoverIsNoFilm) {
    EXPECT_EQ(ContentFormat::mp4_sound, LookAt(Brands("mp42") + Movie(Track() + StillTrack("jpeg", {5000}))));
    EXPECT_EQ(ContentFormat::mp4_sound, LookAt(Brands("mp42") + Movie(Track() + StillTrack("png ", {5000}))));
    EXPECT_EQ(
        ContentFormat::mp4_sound,
        LookAt(Brands("mp42") + Movie(Track() + StillTrack("mp4v", {5000}, StreamDescriptor(1, 0x6C, 4)))));
    EXPECT_EQ(
        ContentFormat::film,
        LookAt(Brands("mp42") + Movie(Track() + StillTrack("mp4v", {5000}, StreamDescriptor(1, 0x20)))));
    EXPECT_EQ(ContentFormat::film, LookAt(Brands("qt  ") + Movie(Track() + StillTrack("jpeg", {500, 500}))));
}

TEST(ContentBoxes, PicturesOfChaptersAreNoFilm) {
    EXPECT_EQ(ContentFormat::mp4_sound,
              LookAt(Brands("M4B ") + Movie(SoundWithChapters(2) + Track(VideoTrack(2)))));
    EXPECT_EQ(ContentFormat::film,
              LookAt(Brands("M4B ") + Movie(SoundWithChapters(3) + Track(VideoTrack(2)))));
}

TEST(ContentBoxes, SizesThatLieEndTheWalk) {
    EXPECT_EQ(ContentFormat::film, LookAt(Brands("isom") + LyingBox(7, "free", "") + Movie(Track())));
    EXPECT_EQ(ContentFormat::film,
              LookAt(Brands("isom") + LyingBox(UINT32_MAX, "free", "") + Movie(Track())));
    EXPECT_EQ(ContentFormat::mp4_sound, LookAt(Brands("isom") + OpenBox("moov", MovieHeader() + Track())));
}

TEST(ContentBoxes, BoxesAreCounted) {
    const auto with_fillers = [](uint32_t count) {
        std::string file = Brands("isom");
        for (uint32_t i = 0; i < count; ++i)
            file += BoxBytes("free", "");
        return LookAt(file + Movie(Track()));
    };
    EXPECT_EQ(ContentFormat::mp4_sound, with_fillers(kContentBoxesMax - 100));
    EXPECT_EQ(ContentFormat::film, with_fillers(kContentBoxesMax));
}

TEST(ContentBoxes, NestingIsNotFollowedFarther) {
    std::string nested = Handler("soun");
    for (int i = 0; i < 1000; ++i)
        nested = BoxBytes("mdia", nested);
    EXPECT_EQ(ContentFormat::film, LookAt(Movie(BoxBytes("trak", nested))));
}

} // namespace
