// SPDX-License-Identifier: GPL-2.0-or-later
//
// Text in single bytes, of sound and of photos.
#include "reader/text/code_pages.h"

#include <gtest/gtest.h>

#include "reader/protocol/charset.h"
#include "reader/protocol/message.h"
#include "tests/unit/exif_bytes.h"
#include "tests/unit/photo_input.h"

namespace {

using namespace std::string_literals;

constexpr char kGreeting[] = "\xCF\xF0\xE8\xE2\xE5\xF2"; // in CP1251

TEST(CodePages, EachSetThatIsKnownCanBeOpened) {
    CodePagesOpen();
    for (const Charset &charset : kCharsets) {
        EXPECT_EQ(TextOfPage("plain", charset.name), "plain") << charset.name;
        EXPECT_LT(std::string(charset.name).size(), kReaderCharsetSize);
        // Latin-1 is what an unknown one would be.
        if (charset.name != std::string_view(kCharsetStandard)) {
            EXPECT_NE(TextOfPage("\x80\xA4\xD0\xF5\xFD\xBC", charset.name),
                      TextOfPage("\x80\xA4\xD0\xF5\xFD\xBC", ""))
                << charset.name;
        }
    }
}

TEST(CodePages, NamesAreFoundAsPeopleWriteThem) {
    for (const char *name : {"CP1251", "cp1251", "windows-1251", "Windows 1251"})
        EXPECT_STREQ(CharsetFind(name)->name, "CP1251") << name;
    EXPECT_STREQ(CharsetFind("utf8")->name, "UTF-8");
    EXPECT_STREQ(CharsetFind("ISO8859-1")->name, kCharsetStandard);
    for (const char *name : {"", "CP", "ANSI_X3.4-1968", "UTF-16", "CP12510"})
        EXPECT_EQ(CharsetFind(name), nullptr) << name;
}

TEST(CodePages, WhatIsUtf8IsThat) {
    CodePagesOpen();
    EXPECT_EQ(TextGuess("Привет", "CP1251"), "Привет");
    EXPECT_EQ(TextGuess(kGreeting, "CP1251"), "Привет");
    EXPECT_EQ(TextGuess(kGreeting, "KOI8-R"), "оПХБЕР");
    EXPECT_EQ(TextGuess(kGreeting, ""), "Ïðèâåò");
    EXPECT_EQ(TextGuess(kGreeting, "no such set"), "Ïðèâåò");
    EXPECT_EQ(TextGuess("\x83\x65\x83\x58\x83\x67", "Shift_JIS"), "テスト");
    EXPECT_EQ(TextGuess("\x83", "Shift_JIS"), "\xEF\xBF\xBD");
    EXPECT_EQ(TextGuess("\xCF", "UTF-8"), "\xEF\xBF\xBD");
    EXPECT_EQ(TextGuess("", "CP1251"), "");
}

// A JPEG with a caption (IPTC 2:120), without the record that names its character set.
std::string Captioned(const std::string &caption) {
    const std::string data_set = "\x1C\x02\x78\0"s + static_cast<char>(caption.size()) + caption;
    const std::string resource = "8BIM\x04\x04\0\0\0\0\0"s + static_cast<char>(data_set.size()) + data_set +
                                 (data_set.size() % 2 != 0 ? "\0"s : ""s);
    const std::string segment = "Photoshop 3.0\0"s + resource;
    const std::string jpeg = exif_bytes::Jpeg(exif_bytes::Block({}, {}, {}), 64, 48);
    return jpeg.substr(0, 2) + "\xFF\xED\0"s + static_cast<char>(segment.size() + 2) + segment +
           jpeg.substr(2);
}

std::string DescriptionOf(const std::string &jpeg, const char *charset) {
    PhotoReaderWarm();
    PhotoInput made = PhotoInputOf(jpeg);
    made.input.charset = charset;
    FactList facts;
    PhotoFactsRead(&made.input, ContentLook(&made.input), &facts);
    return TextOf(facts, FactName::description);
}

TEST(CodePages, PhotosHonourThem) {
    for (const std::string &jpeg :
         {Captioned(kGreeting),
          exif_bytes::Jpeg(exif_bytes::Block({exif_bytes::Text(0x010E, kGreeting)}, {}, {}), 64, 48)}) {
        EXPECT_EQ(DescriptionOf(jpeg, "CP1251"), "Привет");
        EXPECT_EQ(DescriptionOf(jpeg, ""), "Ïðèâåò");
    }
    EXPECT_EQ(DescriptionOf(Captioned("Привет"), "CP1251"), "Привет");
}

} // namespace
