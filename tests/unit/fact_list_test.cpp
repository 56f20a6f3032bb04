// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/protocol/fact_list.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

constexpr FactSource kSource = FactSource::taglib;

// What is kept of a text; empty when it is left out.
std::string Kept(std::string_view text) {
    FactList list;
    return FactAddText(&list, FactName::title, kSource, text) ? list.facts.at(0).text : std::string();
}

bool IsNumberKept(FactName name, double number) {
    FactList list;
    return FactAddNumber(&list, name, kSource, number);
}

TEST(FactList, ATextKeepsWhatIsWithin) {
    EXPECT_EQ("a \n b", Kept("a \n b"));
    EXPECT_EQ("äöü 漢字 🎵", Kept("äöü 漢字 🎵"));
}

TEST(FactList, BlanksAndControlCharactersAtTheEndsGo) {
    EXPECT_EQ("a", Kept(" \t\r\n\x01 a \x7F\x1F\n"));
    EXPECT_EQ("a", Kept("\xC2\x85"
                        "a\xC2\x9F"));
    EXPECT_EQ("\xC2\xA0", Kept("\xC2\xA0"));
    EXPECT_EQ("", Kept(" \n "));
    EXPECT_EQ("", Kept(""));
}

TEST(FactList, ATextEndsAtItsTerminator) {
    EXPECT_EQ("a", Kept(std::string_view("a\0b", 3)));
    EXPECT_EQ("b", Kept(std::string_view("\0b", 2)));
}

TEST(FactList, BadBytesAreReplaced) {
    EXPECT_EQ("a\xEF\xBF\xBD"
              "b",
              Kept("a\xFF"
                   "b"));
    EXPECT_EQ("\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDx", Kept("\xED\xA0\x80x"));
    EXPECT_EQ("ab", Kept("ab\xE6\xBC")); // cut within a character
}

TEST(FactList, ATextIsCutAtACharacter) {
    EXPECT_EQ(kReaderValueMax, Kept(std::string(kReaderValueMax, 'x')).size());
    EXPECT_EQ(kReaderValueMax, Kept(std::string(kReaderValueMax + 1, 'x')).size());
    EXPECT_EQ(std::string(kReaderValueMax - 1, 'x'), Kept(std::string(kReaderValueMax - 1, 'x') + "ä"));
    EXPECT_EQ(std::string(kReaderValueMax - 1, 'x'), Kept(std::string(kReaderValueMax - 1, 'x') + " y"));
    EXPECT_EQ(kReaderValueMax / 3 * 3, Kept(std::string(size_t{1} << 20, '\xFF')).size());
}

TEST(FactList, WhatIsKeptIsKeptAgainAsItIs) {
    const std::string texts[] = {std::string(kReaderValueMax, '\xC2'), "\xC2\x85 a\xFF \xC2",
                                 std::string(5000, ' ') + "a",
                                 std::string(kReaderValueMax - 2, 'x') + "\xC2\x85ä"};
    for (const std::string &text : texts) {
        const std::string once = FactText(text);
        EXPECT_EQ(once, FactText(once));
    }
}

TEST(FactList, OneValueOrSeveral) {
    FactList list;
    EXPECT_TRUE(FactAddText(&list, FactName::titlesort, kSource, "a"));
    EXPECT_FALSE(FactAddText(&list, FactName::titlesort, kSource, "b"));
    EXPECT_TRUE(FactAddText(&list, FactName::artist, kSource, "a"));
    EXPECT_TRUE(FactAddText(&list, FactName::artist, kSource, "b"));
    EXPECT_FALSE(FactAddText(&list, FactName::artist, kSource, " a "));
    EXPECT_TRUE(FactAddText(&list, FactName::albumartist, kSource, "a"));
    ASSERT_EQ(4U, list.facts.size());
    EXPECT_EQ(0, list.facts[1].position);
    EXPECT_EQ(1, list.facts[2].position);
    EXPECT_EQ(0, list.facts[3].position);
    EXPECT_EQ("b", list.facts[2].text);
    EXPECT_EQ("a", FactFind(list, FactName::artist)->text);
    EXPECT_EQ(nullptr, FactFind(list, FactName::genre));
}

TEST(FactList, ANumberIsNoTextAndATextNoNumber) {
    FactList list;
    EXPECT_FALSE(FactAddNumber(&list, FactName::title, kSource, 1));
    EXPECT_FALSE(FactAddText(&list, FactName::track, kSource, "1"));
    EXPECT_TRUE(list.facts.empty());
}

TEST(FactList, Numbers) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(IsNumberKept(FactName::year, 0));
    EXPECT_TRUE(IsNumberKept(FactName::year, 9007199254740992.0));
    EXPECT_FALSE(IsNumberKept(FactName::year, 9007199254740994.0));
    EXPECT_FALSE(IsNumberKept(FactName::year, -1));
    EXPECT_FALSE(IsNumberKept(FactName::year, 1.5));
    EXPECT_FALSE(IsNumberKept(FactName::year, kInfinity));
    EXPECT_TRUE(IsNumberKept(FactName::duration, 1.5));
    EXPECT_TRUE(IsNumberKept(FactName::gps_latitude, -12.25));
    EXPECT_FALSE(IsNumberKept(FactName::gps_latitude, kInfinity));
    EXPECT_FALSE(IsNumberKept(FactName::gps_latitude, std::numeric_limits<double>::quiet_NaN()));
}

TEST(FactList, AsManyFactsAsThereIsRoomFor) {
    FactList list;
    for (size_t i = 0; i < kReaderFactsMax; ++i)
        EXPECT_TRUE(FactAddText(&list, FactName::keyword, kSource, std::to_string(i)));
    EXPECT_FALSE(FactAddText(&list, FactName::keyword, kSource, "one more"));
    EXPECT_FALSE(FactAddNumber(&list, FactName::year, kSource, 1));
    EXPECT_EQ(kReaderFactsMax, list.facts.size());
}

TEST(FactList, AsMuchTextAsThereIsRoomFor) {
    FactList list;
    for (size_t i = 0; i < kReaderTextMax / kReaderValueMax; ++i)
        EXPECT_TRUE(FactAddText(&list, FactName::keyword, kSource,
                                std::to_string(100 + i) + std::string(kReaderValueMax - 3, 'x')));
    EXPECT_EQ(kReaderTextMax, list.text_bytes);
    EXPECT_FALSE(FactAddText(&list, FactName::keyword, kSource, "y"));
    EXPECT_TRUE(FactAddNumber(&list, FactName::year, kSource, 1));
}

TEST(FactList, SourcesHaveTheirWords) {
    EXPECT_STREQ("own", FactSourceWord(FactSource::own));
    EXPECT_STREQ("taglib", FactSourceWord(FactSource::taglib));
    EXPECT_STREQ("exiv2", FactSourceWord(FactSource::exiv2));
    EXPECT_STREQ("libavformat", FactSourceWord(FactSource::libavformat));
}

} // namespace
