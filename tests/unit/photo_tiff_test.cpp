// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the library for photos is shown of a TIFF, and what comes of it.
#include "reader/photo/tiff_view.h"

#include <gtest/gtest.h>

#include "platform/limits.h"
#include "tests/unit/exif_bytes.h"
#include "tests/unit/mp4_boxes.h"
#include "tests/unit/photo_input.h"

namespace {

using namespace std::string_literals;
using exif_bytes::Directory;
using exif_bytes::Entry;
using exif_bytes::Little;
using exif_bytes::Long;
using exif_bytes::Short;
using exif_bytes::Text;

constexpr size_t kHeader = 8;

std::string Tiff(const std::vector<Entry> &entries, const std::string &behind = {}) {
    return "II\x2A\0"s + Little(kHeader, 4) + Directory(entries, kHeader, !behind.empty()) + behind;
}

std::vector<uint8_t> ViewOf(std::string_view bytes, int64_t size = 0) {
    PhotoInput made = PhotoInputOf(bytes, size);
    std::vector<uint8_t> view(static_cast<size_t>(made.input.size));
    TiffViewFill(&made.input, 0, view);
    return view;
}

// A value that stands elsewhere in the file.
Entry Far(int tag, uint32_t count, uint32_t offset) {
    return {tag, exif_bytes::kAscii, count, Little(offset, 4)};
}

uint32_t CountOf(const std::vector<uint8_t> &view, size_t entry) {
    const uint8_t *count = view.data() + kHeader + 2 + entry * 12 + 4;
    return static_cast<uint32_t>(count[0] | count[1] << 8 | count[2] << 16 | count[3] << 24);
}

TEST(PhotoTiff, DirectoriesAndTheirValuesAreThere) {
    const std::string file =
        Tiff({Text(0x010F, "A maker of cameras"), Short(0x0112, 6)}) + std::string(100'000, 'p');
    const std::vector<uint8_t> view = ViewOf(file);
    EXPECT_EQ(0, memcmp(view.data(), file.data(), file.size() - 100'000));
    EXPECT_EQ(0, view.back());
}

TEST(PhotoTiff, LongValuesAreEmpty) {
    constexpr auto kMax = static_cast<uint32_t>(kPhotoValueMax);
    const std::vector<uint8_t> view =
        ViewOf(Tiff({Far(0x010E, kMax, 1000), Far(0x010F, kMax + 1, 1000)}), 4 * int64_t{kMax});
    EXPECT_EQ(kMax, CountOf(view, 0));
    EXPECT_EQ(0u, CountOf(view, 1));
}

TEST(PhotoTiff, PicturesHaveNoSizeAndNoCopies) {
    const std::string file =
        Tiff({Long(0x0201, 8), Long(0x0202, 1u << 20), Long(0x0111, 8), Long(0x0117, 1u << 20)});
    const std::vector<uint8_t> view = ViewOf(file, 1 << 21);
    EXPECT_EQ(1u, CountOf(view, 0));
    EXPECT_EQ(0u, CountOf(view, 1));
    EXPECT_EQ(1u, CountOf(view, 2));
    EXPECT_EQ(0u, CountOf(view, 3));
}

TEST(PhotoTiff, OfPicturesAmongTheValuesTheHeadIsThere) {
    constexpr auto kHead = static_cast<uint32_t>(kPhotoPictureHead);
    const std::string picture = "\xFF\xD8\xFF"s + std::string(2 * kPhotoValueMax, 'p');
    const auto size = static_cast<uint32_t>(picture.size());
    for (const bool big : {false, true}) {
        std::string file = Tiff({Far(0x002E, size, 64), Far(0x002F, kHead, 64)}) + std::string(64, '\0');
        file.replace(64, file.size() - 64, picture);
        if (big) {
            const std::string header = "MM\0\x2A\0\0\0\x08"s;
            const std::string entries = "\0\x01\0\x2E\0\x02"s + U32(size) + U32(64) + U32(0);
            file.replace(0, header.size() + entries.size(), header + entries);
        }
        const std::vector<uint8_t> view = ViewOf(file);
        const uint32_t count = CountOf(view, 0);
        EXPECT_EQ(kHead, big ? __builtin_bswap32(count) : count);
        EXPECT_EQ('p', view[64 + kHead - 1]);
        EXPECT_EQ(0, view[64 + kHead]);
        const uint32_t whole = CountOf(view, 1); // no larger than a head
        EXPECT_TRUE(big || whole == kHead) << whole;
    }
}

TEST(PhotoTiff, ValuesTogetherAreBounded) {
    constexpr auto kMax = static_cast<uint32_t>(kPhotoValueMax);
    constexpr uint32_t kFull = kPhotoBytesMax / kPhotoValueMax;
    std::vector<Entry> entries;
    for (uint32_t i = 0; i <= kFull; ++i)
        entries.push_back(Far(0x010E, kMax, 4096));
    const std::vector<uint8_t> view = ViewOf(Tiff(entries), 2 * int64_t{kMax});
    EXPECT_EQ(kMax, CountOf(view, kFull - 2));
    EXPECT_EQ(0u, CountOf(view, kFull));
}

TEST(PhotoTiff, DirectoriesAreCountedAndCirclesEnd) {
    std::string circle = Tiff({Short(0x0112, 6)});
    circle.replace(circle.size() - 4, 4, Little(kHeader, 4));
    EXPECT_EQ(6, NumberOf(PhotoAnswerOf(circle).facts, FactName::orientation));
    // A chain in which each one is followed by the next.
    std::string chain = "II\x2A\0"s + Little(kHeader, 4);
    size_t last = 0;
    for (uint32_t i = 0; i <= kPhotoDirectoriesMax; ++i) {
        last = chain.size();
        chain += Directory({Short(0x0112, i + 1)}, chain.size(), true);
    }
    const std::vector<uint8_t> view = ViewOf(chain + std::string(100, '\0'));
    EXPECT_EQ(0, view[last]);
    EXPECT_EQ(1, view[last - (last - kHeader) / kPhotoDirectoriesMax]);
}

TEST(PhotoTiff, WhatIsTooLargeHasASizeOnly) {
    const std::string file = Tiff({Short(0x0100, 640), Short(0x0101, 480), Text(0x010F, "Maker")});
    EXPECT_EQ("Maker", TextOf(PhotoAnswerOf(file, kPhotoViewMax).facts, FactName::camera_make));
    const PhotoAnswer answer = PhotoAnswerOf(file, kPhotoViewMax + 1);
    EXPECT_EQ("", TextOf(answer.facts, FactName::camera_make));
    EXPECT_EQ(640, NumberOf(answer.facts, FactName::width));
    EXPECT_EQ(AnswerStatus::read, answer.outcome.status);
}

TEST(PhotoTiff, TheSmallCopyIsNotThePicture) {
    const std::string full =
        Directory({Long(0x00FE, 0), Short(0x0100, 6000), Short(0x0101, 4000)}, 200, false);
    std::string raw = "II\x2A\0"s + Little(kHeader, 4) +
                      Directory({Long(0x00FE, 1), Short(0x0100, 160), Short(0x0101, 120), Long(0x014A, 200)},
                                kHeader, false);
    raw.resize(200);
    const PhotoAnswer answer = PhotoAnswerOf(raw + full);
    EXPECT_EQ(6000, NumberOf(answer.facts, FactName::width));
    EXPECT_EQ(4000, NumberOf(answer.facts, FactName::height));
}

TEST(PhotoTiff, PanasonicHasKeysOfItsOwn) {
    std::string raw = Tiff({Short(0x0002, 4060), Short(0x0003, 3016), Short(0x0017, 160),
                            Text(0x010F, "Panasonic"), Text(0x0110, "DMC-LX3"), Short(0x0112, 8)});
    raw.replace(0, 4, "IIU\0"s);
    const PhotoAnswer answer = PhotoAnswerOf(raw);
    EXPECT_EQ("Panasonic", TextOf(answer.facts, FactName::camera_make));
    EXPECT_EQ("DMC-LX3", TextOf(answer.facts, FactName::camera_model));
    EXPECT_EQ(160, NumberOf(answer.facts, FactName::iso_speed));
    EXPECT_EQ(8, NumberOf(answer.facts, FactName::orientation));
}

} // namespace
