// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/webp_size.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using std::string_literals::operator""s;

// The file's head, and a first chunk padded to what a reader needs.
std::string Webp(const std::string &chunk, const std::string &data) {
    std::string bytes = "RIFF\x40\0\0\0WEBP"s + chunk + "\x20\0\0\0"s + data;
    bytes.resize(52, '\0');
    return bytes;
}

const std::string kKeyFrame = "\x30\x01\0\x9D\x01\x2A"s;

} // namespace

TEST(WebpSize, OfEachOfTheThreeForms) {
    const PixelSize lossy = WebpSizeRead(Webp("VP8 ", kKeyFrame + "\x80\x02\xE0\x01"s));
    EXPECT_EQ(lossy.width, 640);
    EXPECT_EQ(lossy.height, 480);
    // 14 bits less one each: 300 and 200.
    const PixelSize lossless = WebpSizeRead(Webp("VP8L", "\x2F\x2B\xC1\x31\0"s));
    EXPECT_EQ(lossless.width, 300);
    EXPECT_EQ(lossless.height, 200);
    const PixelSize extended = WebpSizeRead(Webp("VP8X", "\x10\0\0\0\xCF\x07\0\x27\0\0"s));
    EXPECT_EQ(extended.width, 2000);
    EXPECT_EQ(extended.height, 40);
}

TEST(WebpSize, UpperBitsOfAKeyFrameAreItsScale) {
    const PixelSize size = WebpSizeRead(Webp("VP8 ", kKeyFrame + "\x80\x42\xE0\xC1"s));
    EXPECT_EQ(size.width, 640);
    EXPECT_EQ(size.height, 480);
}

TEST(WebpSize, WhatIsNoneHasNone) {
    for (const std::string &bytes :
         {Webp("VP8 ", "\x30\x01\0\x9D\x01\x2B\x80\x02\xE0\x01"s), Webp("VP8L", "\x2E\x2B\xC1\x31\0"s),
          Webp("ALPH", ""), Webp("VP8X", "").substr(0, 29), std::string()}) {
        const PixelSize size = WebpSizeRead(bytes);
        EXPECT_EQ(size.width, 0);
        EXPECT_EQ(size.height, 0);
    }
}
