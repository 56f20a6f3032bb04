// SPDX-License-Identifier: GPL-2.0-or-later
//
// The calls of the MP4 reader about tags and cover pictures.
#include <gtest/gtest.h>

#include "platform/limits.h"
#include "tests/unit/mp4_boxes.h"
#include "tests/unit/mp4_open.h"

namespace {

using TextCall = bool (*)(MP4FileHandle, char **);

std::string NameOfItems(std::string_view items) {
    const OpenMovie movie(MovieFile(Track(), items));
    return TextOf(movie.handle, MP4GetMetadataName);
}

std::string NameOfMovie(std::string_view children) {
    const OpenMovie movie(BoxBytes("moov", MovieHeader() + Track() + std::string(children)));
    return TextOf(movie.handle, MP4GetMetadataName);
}

using PairCall = bool (*)(MP4FileHandle, uint16_t *, uint16_t *);

std::string PairOf(PairCall call, std::string_view items) {
    const OpenMovie movie(MovieFile(Track(), items));
    uint16_t number = 77;
    uint16_t total = 77;
    const bool found = call(movie.handle, &number, &total);
    return (found ? "" : "none ") + std::to_string(number) + "/" + std::to_string(total);
}

std::string GenreNumberOf(std::string_view items) {
    const OpenMovie movie(MovieFile(Track(), items));
    uint16_t number = 77;
    return MP4GetMetadataGenreNumber(movie.handle, &number) ? std::to_string(number)
                                                            : "none " + std::to_string(number);
}

struct Cover {
    bool found;
    std::string bytes;
    uint32_t type;
};

Cover CoverOf(std::string_view items, uint32_t index = 0) {
    const OpenMovie movie(MovieFile(Track(), items));
    uint8_t *bytes = nullptr;
    uint32_t size = 77;
    Cover cover = {};
    cover.found = MP4GetMetadataCoverArt(movie.handle, &bytes, &size, index);
    if (bytes != nullptr)
        cover.bytes.assign(reinterpret_cast<char *>(bytes), size);
    else
        EXPECT_EQ(size, 0u);
    free(bytes);
    EXPECT_EQ(MP4GetMetadataCoverArtFileType(movie.handle, &cover.type, index),
              cover.found || size > kMp4PictureMax);
    return cover;
}

uint32_t CoverTypeOf(std::string_view picture, uint32_t code) {
    return CoverOf(ItemBox("covr", picture, code)).type;
}

} // namespace

TEST(Mp4ItemsTest, EachCallHasItsItem) {
    struct Named {
        TextCall call;
        const char *type;
    };
    constexpr Named kItems[] = {{MP4GetMetadataName, "\251nam"},   {MP4GetMetadataArtist, "\251ART"},
                                {MP4GetMetadataAlbum, "\251alb"},  {MP4GetMetadataComment, "\251cmt"},
                                {MP4GetMetadataWriter, "\251wrt"}, {MP4GetMetadataYear, "\251day"},
                                {MP4GetMetadataGenre, "\251gen"}};
    std::string items;
    for (const Named &item : kItems)
        items += ItemBox(item.type, std::string("value of ") + item.type);
    const OpenMovie all(MovieFile(Track(), items));
    const OpenMovie none(MovieFile(Track()));
    for (const Named &item : kItems) {
        EXPECT_EQ(TextOf(all.handle, item.call), std::string("value of ") + item.type);
        EXPECT_EQ(TextOf(all.handle, item.call), std::string("value of ") + item.type) << "asked again";
        EXPECT_EQ(TextOf(none.handle, item.call), "(none)");
        EXPECT_EQ(TextOf(nullptr, item.call), "(none)");
    }
}

TEST(Mp4ItemsTest, TextIsGivenAsItStands) {
    EXPECT_EQ(NameOfItems(ItemBox("\251nam", "  blanks \xFF\xFE ", 0)), "  blanks \xFF\xFE ");
    EXPECT_EQ(NameOfItems(ItemBox("\251nam", std::string("a\0b", 3))), "a");
    EXPECT_EQ(NameOfItems(ItemBox("\251nam", "")), "(none)");
    EXPECT_EQ(NameOfItems(BoxBytes("\251nam", "")), "(none)");
}

TEST(Mp4ItemsTest, LongTextIsCut) {
    EXPECT_EQ(NameOfItems(ItemBox("\251nam", std::string(kMp4TextMax, 'x'))), std::string(kMp4TextMax, 'x'));
    EXPECT_EQ(NameOfItems(ItemBox("\251nam", std::string(kMp4TextMax + 1, 'x'))),
              std::string(kMp4TextMax, 'x'));
}

TEST(Mp4ItemsTest, OnlyTheFirstOfEachKindCounts) {
    const std::string first = ItemBox("\251nam", "first");
    const std::string second = ItemBox("\251nam", "second");
    EXPECT_EQ(NameOfItems(first + second), "first");
    EXPECT_EQ(NameOfItems(BoxBytes("\251nam", ItemData("first") + ItemData("second"))), "first");
    EXPECT_EQ(NameOfItems(BoxBytes("\251nam", "") + second), "(none)");
    EXPECT_EQ(NameOfMovie(UserData(first) + UserData(second)), "first");
    EXPECT_EQ(NameOfMovie(BoxBytes("udta", "") + UserData(second)), "(none)");
}

TEST(Mp4ItemsTest, TagsElsewhereAreNone) {
    const std::string item = ItemBox("\251nam", "elsewhere");
    const std::string list = BoxBytes("ilst", item);
    EXPECT_EQ(NameOfMovie(FullBox("meta", list)), "(none)");
    EXPECT_EQ(NameOfMovie(BoxBytes("udta", list)), "(none)");
    EXPECT_EQ(NameOfMovie(BoxBytes("udta", BoxBytes("\251nam", U16(9) + U16(0) + "QuickTime"))), "(none)");
    EXPECT_EQ(NameOfMovie(BoxBytes("udta", BoxBytes("meta", Handler("mdir") + list))), "(none)")
        << "a QuickTime meta box has no version";
    EXPECT_EQ(NameOfMovie(BoxBytes("udta", FullBox("meta", list))), "elsewhere") << "it needs no handler";
    EXPECT_EQ(NameOfItems(ItemBox("\251NAM", "wrong case")), "(none)");
}

TEST(Mp4ItemsTest, ABrokenItemCostsOnlyItself) {
    const std::string good = ItemBox("\251nam", "good");
    for (const std::string &broken :
         {BoxBytes("\251ART", LyingBox(12, "data", "")), BoxBytes("\251ART", LyingBox(3, "data", "xxxx")),
          BoxBytes("\251ART", "x"), BoxBytes("trkn", ItemData("123")),
          BoxBytes("\251ART", BoxBytes("data", "1234567"))})
        EXPECT_EQ(NameOfItems(broken + good), "good");
}

TEST(Mp4ItemsTest, AGenreNumberIsGivenAsItIs) {
    EXPECT_EQ(GenreNumberOf(ItemBox("gnre", U16(18), 0)), "18");
    EXPECT_EQ(GenreNumberOf(ItemBox("gnre", U16(0xFFFF), 0)), "65535");
    EXPECT_EQ(GenreNumberOf(ItemBox("gnre", U8(18), 0)), "0");
    EXPECT_EQ(GenreNumberOf(ItemBox("gnre", U16(18) + U8(0), 0)), "0");
    EXPECT_EQ(GenreNumberOf(BoxBytes("gnre", "")), "0");
    EXPECT_EQ(GenreNumberOf(ItemBox("\251gen", "Rock")), "none 0");
    uint16_t number = 77;
    EXPECT_FALSE(MP4GetMetadataGenreNumber(nullptr, &number));
    EXPECT_EQ(number, 0u);
}

TEST(Mp4ItemsTest, ATrackNumberHasExactlyEightBytes) {
    EXPECT_EQ(PairOf(MP4GetMetadataTrack, ItemBox("trkn", U16(9) + U16(3) + U16(12) + U16(9), 0)), "3/12");
    EXPECT_EQ(PairOf(MP4GetMetadataTrack, ItemBox("trkn", Zeros(2) + U16(3) + U16(12), 0)), "none 0/0");
    EXPECT_EQ(PairOf(MP4GetMetadataTrack, ItemBox("trkn", Zeros(9), 0)), "none 0/0");
    EXPECT_EQ(PairOf(MP4GetMetadataTrack, ItemBox("disk", Zeros(8), 0)), "none 0/0");
}

TEST(Mp4ItemsTest, ADiskNumberHasSixOrEightBytes) {
    EXPECT_EQ(PairOf(MP4GetMetadataDisk, ItemBox("disk", Zeros(2) + U16(1) + U16(2), 0)), "1/2");
    EXPECT_EQ(PairOf(MP4GetMetadataDisk, ItemBox("disk", Zeros(2) + U16(1) + U16(2) + Zeros(2), 0)), "1/2");
    EXPECT_EQ(PairOf(MP4GetMetadataDisk, ItemBox("disk", Zeros(2) + U16(1) + U16(2) + Zeros(1), 0)), "0/0");
    EXPECT_EQ(PairOf(MP4GetMetadataDisk, ItemBox("disk", "", 0)), "0/0");
    EXPECT_EQ(PairOf(MP4GetMetadataDisk, BoxBytes("disk", "")), "none 0/0");
    EXPECT_EQ(PairOf(MP4GetMetadataDisk, ItemBox("trkn", Zeros(8), 0)), "none 0/0");
}

TEST(Mp4ItemsTest, ACoverIsTheIndexedDataOfTheFirstItem) {
    const std::string items = BoxBytes("covr", BoxBytes("name", "front") + ItemData(JpegBytes(20), 13) +
                                                   ItemData(PngBytes(30), 14)) +
                              ItemBox("covr", JpegBytes(40), 13);
    EXPECT_EQ(CoverOf(items).bytes, JpegBytes(20));
    EXPECT_EQ(CoverOf(items).type, kMp4CoverJpeg);
    EXPECT_EQ(CoverOf(items, 1).bytes, PngBytes(30));
    EXPECT_EQ(CoverOf(items, 1).type, kMp4CoverPng);
    EXPECT_FALSE(CoverOf(items, 2).found);
    EXPECT_FALSE(CoverOf("").found);
    EXPECT_FALSE(CoverOf(BoxBytes("covr", "")).found);
    EXPECT_TRUE(CoverOf(ItemBox("covr", "", 13)).found);
    uint8_t *bytes = nullptr;
    uint32_t size = 77;
    EXPECT_FALSE(MP4GetMetadataCoverArt(nullptr, &bytes, &size));
    EXPECT_EQ(size, 0u);
    EXPECT_FALSE(MP4GetMetadataCoverArtFileType(nullptr, &size));
}

TEST(Mp4ItemsTest, ACoverTypeIsItsCodeElseWhatItsBytesShow) {
    EXPECT_EQ(CoverTypeOf(PngBytes(20), 13), kMp4CoverJpeg) << "the code is not checked";
    EXPECT_EQ(CoverTypeOf("anything", 14), kMp4CoverPng);
    EXPECT_EQ(CoverTypeOf(JpegBytes(20), 0), kMp4CoverJpeg);
    EXPECT_EQ(CoverTypeOf(PngBytes(20), 0), kMp4CoverPng);
    EXPECT_EQ(CoverTypeOf(JpegBytes(20), 27), kMp4CoverJpeg);
    EXPECT_EQ(CoverTypeOf(JpegBytes(3), 0), kMp4CoverJpeg);
    EXPECT_EQ(CoverTypeOf(JpegBytes(2), 0), 0u);
    EXPECT_EQ(CoverTypeOf(PngBytes(7), 0), 0u);
    EXPECT_EQ(CoverTypeOf("GIF89a......", 12), 12u);
    EXPECT_EQ(CoverTypeOf("BM..........", 27), 27u);
    EXPECT_EQ(CoverTypeOf("", 0), 0u);
    EXPECT_EQ(CoverTypeOf(JpegBytes(20), 0x0100000D), kMp4CoverJpeg);
}

TEST(Mp4ItemsTest, ACutPictureIsAsLongAsItGot) {
    const std::string file = MovieFile(Track(), ItemBox("covr", JpegBytes(100), 13));
    const OpenMovie movie(std::string_view(file).substr(0, file.size() - 40));
    uint8_t *bytes = nullptr;
    uint32_t size = 0;
    EXPECT_TRUE(MP4GetMetadataCoverArt(movie.handle, &bytes, &size));
    EXPECT_EQ(size, 60u);
    free(bytes);
}

TEST(Mp4ItemsTest, PicturesAreBounded) {
    const auto found = [](uint64_t size) {
        const std::string head = MovieFile(
            Track(), BoxBytes("covr", LyingBox(static_cast<uint32_t>(size + 16), "data", U32(13) + U32(0))));
        // Every box around it is made to reach to the end of the file, which is a hole.
        std::string file = head;
        for (const char *type : {"moov", "udta", "meta", "ilst", "covr"}) {
            const size_t at = file.rfind(type) - 4;
            file.replace(at, 4, U32(0));
        }
        const ScratchFile scratch(file);
        EXPECT_EQ(truncate(scratch.c_str(), static_cast<off_t>(file.size() + size)), 0);
        const MP4FileHandle handle = MP4Read(scratch.c_str(), 0);
        uint8_t *bytes = nullptr;
        uint32_t length = 0;
        const bool is_found = MP4GetMetadataCoverArt(handle, &bytes, &length);
        EXPECT_EQ(length, is_found ? size : 0);
        free(bytes);
        MP4Close(handle);
        return is_found;
    };
    EXPECT_TRUE(found(kMp4PictureMax));
    EXPECT_FALSE(found(kMp4PictureMax + 1));
}
