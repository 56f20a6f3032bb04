// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/companion_names.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

// "kind stem|series", with "!" for one that is shown.
std::string Told(const char *file) {
    constexpr const char *kKindWords[] = {"none", "raw", "picture", "film"};
    const CompanionName name = CompanionNameOf(file);
    std::string told = kKindWords[static_cast<size_t>(name.kind)];
    if (name.kind != CompanionKind::none)
        told += " " + std::string(name.stem);
    if (!name.series.empty())
        told += "|" + std::string(name.series) + (name.leads ? "!" : "");
    return told;
}

} // namespace

TEST(CompanionName, HasAKindByItsExtension) {
    EXPECT_EQ(Told("IMG_1.CR2"), "raw IMG_1");
    EXPECT_EQ(Told("IMG_1.dng"), "raw IMG_1");
    EXPECT_EQ(Told("IMG_1.JPG"), "picture IMG_1");
    EXPECT_EQ(Told("IMG_1.heic"), "picture IMG_1");
    EXPECT_EQ(Told("a.b.Jpeg"), "picture a.b");
    EXPECT_EQ(Told("IMG_1.MOV"), "film IMG_1");
    EXPECT_EQ(Told("IMG_1.mp4"), "film IMG_1");
    for (const char *other : {"IMG_1.png", "IMG_1.mkv", "IMG_1.mp3", "IMG_1.xmp", "IMG_1", "jpg", ".jpg", "",
                              "IMG_1.", "IMG_1.jpegs", "IMG_1.\x01jpg"})
        EXPECT_EQ(Told(other), "none") << other;
}

TEST(CompanionName, LeavesOutWhatItIsCalledBesideItsFilm) {
    EXPECT_EQ(Told("IMG_1_HEVC.MOV"), "film IMG_1");
    EXPECT_EQ(Told("IMG_1_heic.mov"), "film IMG_1");
    EXPECT_EQ(Told("IMG_1_HEVC.HEIC"), "picture IMG_1_HEVC") << "a film alone is called so";
    EXPECT_EQ(Told("_HEVC.MOV"), "film _HEVC");
    EXPECT_EQ(Told("PXL_20210504_101112345.MP.jpg"), "picture PXL_20210504_101112345");
    EXPECT_EQ(Told("PXL_20210504_101112345.MP.mp4"), "film PXL_20210504_101112345");
    EXPECT_EQ(Told("PXL_20210504_101112345.dng"), "raw PXL_20210504_101112345");
}

TEST(CompanionName, KnowsBursts) {
    EXPECT_EQ(Told("IMG_20190504_101112_BURST001_COVER.jpg"),
              "picture IMG_20190504_101112_BURST001_COVER|IMG_20190504_101112_BURST!");
    EXPECT_EQ(Told("IMG_20190504_101112_BURST12.jpg"),
              "picture IMG_20190504_101112_BURST12|IMG_20190504_101112_BURST");
    EXPECT_EQ(Told("00001IMG_00001_BURST20171111030039.jpg"),
              "picture 00001IMG_00001_BURST20171111030039|BURST20171111030039");
    EXPECT_EQ(Told("00100lrPORTRAIT_00100_BURST20200418222652648_COVER.jpg"),
              "picture 00100lrPORTRAIT_00100_BURST20200418222652648_COVER|BURST20200418222652648!");
    EXPECT_EQ(Told("DSC_0052_burst20230709220904977_cover.JPG"),
              "picture DSC_0052_burst20230709220904977_cover|burst20230709220904977!");
    EXPECT_EQ(Told("20231207_101605_010.jpg"), "picture 20231207_101605_010|20231207_101605_");
    EXPECT_EQ(Told("PXL_20231207_032108788.RAW-01.MP.COVER.jpg"),
              "picture PXL_20231207_032108788.RAW-01.MP.COVER|PXL_20231207_032108788.RAW-!");
    EXPECT_EQ(Told("PXL_20231207_032108788.RAW-02.ORIGINAL.dng"),
              "raw PXL_20231207_032108788.RAW-02.ORIGINAL|PXL_20231207_032108788.RAW-");
    for (const char *other : {"20231207_101605.jpg", "20231207_101605_01.jpg", "a20231207_101605_010.jpg",
                              "BURST001.jpg", "IMG_BURST.jpg", "IMG_BURST001_BACK.jpg", "BURST_COVER.jpg",
                              "my.COVER.jpg", "a-.COVER.jpg", "1.ORIGINAL.jpg", "_COVER.jpg"})
        EXPECT_TRUE(CompanionNameOf(other).series.empty()) << other;
    EXPECT_TRUE(CompanionNameOf("IMG_BURST001.mov").series.empty()) << "films have no series";
}
