// SPDX-License-Identifier: GPL-2.0-or-later
//
// Both rule sets write a photo's values alike, although two libraries read them.
#include <gtest/gtest.h>

#include <algorithm>

#include "catalogue/exif.h"
#include "tests/unit/exif_bytes.h"
#include "tests/unit/photo_input.h"

namespace {

using exif_bytes::Rational;
using exif_bytes::Short;
using exif_bytes::Text;

constexpr int kMake = 0x010F;
constexpr int kModel = 0x0110;
constexpr int kExposure = 0x829A;
constexpr int kAperture = 0x829D;
constexpr int kIso = 0x8827;

void ExpectAlike(const std::string &jpeg) {
    PhotoInput made = PhotoInputOf(jpeg);
    PhotoRecord record = {};
    snprintf(record.path, sizeof record.path, "/proc/self/fd/%d", made.file.get());
    ASSERT_EQ(0, ExifInfoGet(&record));
    const FactList facts = PhotoAnswerOf(jpeg).facts;
    EXPECT_EQ(record.make, TextOf(facts, FactName::camera_make));
    EXPECT_EQ(record.model, TextOf(facts, FactName::camera_model));
    EXPECT_EQ(record.exposure, TextOf(facts, FactName::exposure_time));
    EXPECT_EQ(record.fnumber, TextOf(facts, FactName::f_number));
    EXPECT_EQ(record.iso, NumberOf(facts, FactName::iso_speed));
}

TEST(PhotoForms, ExposuresAndAperturesOfEveryKind) {
    const std::pair<uint32_t, uint32_t> exposures[] = {
        {1, 125}, {10, 1250},  {1, 3},       {3, 10}, {1, 1},          {2, 1},
        {25, 10}, {30, 1},     {1, 8000},    {0, 1},  {299, 1000},     {4, 10},
        {6, 10},  {999, 1000}, {1, 4000000}, {5, 2},  {4000000000, 1}, {7, 3}};
    for (const auto &[above, below] : exposures) {
        SCOPED_TRACE(std::to_string(above) + "/" + std::to_string(below));
        ExpectAlike(exif_bytes::Jpeg(exif_bytes::Block({Text(kMake, "Maker & Sons"), Text(kModel, "M-1")}, {},
                                                       {Rational(kExposure, above, below),
                                                        Rational(kAperture, above, below), Short(kIso, 400)}),
                                     64, 48));
    }
}

TEST(PhotoForms, APictureHasOneTitle) {
    using namespace std::string_literals;
    const std::string titles = "\x1C\x02\x05\0\x03One\x1C\x02\x05\0\x03Two"s;
    const std::string resource = "Photoshop 3.0\0"s + "8BIM\x04\x04\0\0\0\0\0\x10"s + titles;
    const std::string windows = "W\0\0\0"s;
    const std::string jpeg = exif_bytes::Jpeg(exif_bytes::Block({Text(0x9C9B, windows)}, {}, {}), 64, 48);
    const PhotoAnswer answer =
        PhotoAnswerOf(jpeg.substr(0, 2) + "\xFF\xED\0"s + static_cast<char>(resource.size() + 2) + resource +
                      jpeg.substr(2));
    EXPECT_EQ("One", TextOf(answer.facts, FactName::title));
    EXPECT_EQ(1, std::ranges::count(answer.facts.facts, FactName::title, &Fact::name));
}

TEST(PhotoForms, ANumberDividedByZeroIsNone) {
    const PhotoAnswer answer = PhotoAnswerOf(exif_bytes::Jpeg(
        exif_bytes::Block({}, {}, {Rational(kExposure, 1, 0), Rational(kAperture, 0, 0), Short(kIso, 0)}), 64,
        48));
    EXPECT_EQ(nullptr, FactFind(answer.facts, FactName::exposure_time));
    EXPECT_EQ(nullptr, FactFind(answer.facts, FactName::f_number));
    EXPECT_EQ(nullptr, FactFind(answer.facts, FactName::iso_speed));
    EXPECT_EQ(64, NumberOf(answer.facts, FactName::width));
}

TEST(PhotoForms, ABrokenPictureHasItsSizeAndWhatIsThere) {
    std::string jpeg =
        exif_bytes::Jpeg(exif_bytes::Block({Text(kMake, "Maker")}, {}, {Short(kIso, 100)}), 64, 48);
    jpeg.resize(jpeg.size() - 2);
    const PhotoAnswer answer = PhotoAnswerOf(jpeg);
    EXPECT_EQ(AnswerStatus::read, answer.outcome.status);
    EXPECT_EQ(64, NumberOf(answer.facts, FactName::width));
    EXPECT_EQ("Maker", TextOf(answer.facts, FactName::camera_make));
    EXPECT_EQ(AnswerStatus::failed, PhotoAnswerOf("\xFF\xD8\xFF\xE1").outcome.status);
}

} // namespace
