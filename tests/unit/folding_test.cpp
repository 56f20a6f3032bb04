// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/folding/folding.h"

#include <gtest/gtest.h>

#include "platform/limits.h"
#include "platform/utf8.h"

namespace {

std::string Folded(std::string_view text) {
    return TextFolded(text, kFactFoldedMax);
}

} // namespace

TEST(Folding, CaseAccentsAndWidthDoNotCount) {
    const struct {
        const char *text;
        const char *folded;
    } cases[] = {
        {"", ""},
        {"abc 123 !?", "abc 123 !?"},
        {"Nina SIMONE", "nina simone"},
        {"Beyoncé", "beyonce"},
        {"Beyonce\u0301", "beyonce"},
        {"MOTÖRHEAD", "motorhead"},
        {"Sigur Rós", "sigur ros"},
        {"Dvořák", "dvorak"},
        {"Ångström", "angstrom"},
        {"Straße", "strasse"},
        {"STRASSE", "strasse"},
        {"ﬁlm", "film"},
        {"ＡＢＣ　１２３", "abc 123"},
        {"ｶﾞﾙﾈﾘﾔ", "カルネリヤ"},
        {"ガルネリヤ", "カルネリヤ"},
        {"Ⅳ", "iv"},
        {"№ 5", "no 5"},
        {"½", "1⁄2"},
        {"Αθήνα", "αθηνα"},
        {"ΣΊΣΥΦΟΣ", "σισυφοσ"},
        {"Ёлка Й", "елка и"},
        {"İstanbul", "istanbul"},
        {"Łódź", "łodz"},
        {"한국", "한국"},
        {"\u1112\u1161\u11AB\u1100\u116E\u11A8", "한국"},
        {"東京", "東京"},
        {"ہِندی", "ہندی"},
        {"Tiếng Việt", "tieng viet"},
        {"a\u00A0b", "a b"},
        {"\u1F80", "α"}, // whose case folds to two letters, unless its marks went before
        {"\u03B1\u0313\u0345", "α"},
        {"\u0301", ""},
        {"😀", "😀"},
    };
    for (const auto &of : cases)
        EXPECT_EQ(Folded(of.text), of.folded) << of.text;
}

TEST(Folding, WhatIsFoldedStaysAsItIs) {
    constexpr char32_t kAssignedEnd = 0x33480; // but for marks without a shape and private ones
    for (char32_t character = 1; character < kAssignedEnd; ++character) {
        if (character >= 0xD800 && character <= 0xDFFF)
            continue;
        std::string text = "a";
        Utf8Append(&text, character);
        text += "b";
        const std::string folded = Folded(text);
        ASSERT_EQ(Folded(folded), folded) << static_cast<uint32_t>(character);
    }
}

TEST(Folding, ItIsCutAtACharacter) {
    EXPECT_EQ(TextFolded("ABCD", 3), "abc");
    EXPECT_EQ(TextFolded("ABCD", 4), "abcd");
    EXPECT_EQ(TextFolded("ABC", 0), "");
    EXPECT_EQ(TextFolded("ÉÉ", 0), "");
    EXPECT_EQ(TextFolded("AБВ", 2), "a");
    EXPECT_EQ(TextFolded("AБВ", 3), "aб");
    EXPECT_EQ(TextFolded("AБВ", 4), "aб");
    const std::string korean = "\u1112\u1161\u11AB"; // of nine bytes, and folded of three
    for (size_t syllables : {1u, 85u, 86u, 1000u}) {
        std::string text = "A";
        std::string folded = "a";
        for (size_t i = 0; i < syllables; ++i) {
            text += korean;
            folded += i < 85 ? "한" : "";
        }
        EXPECT_EQ(Folded(text), folded) << syllables;
    }
    // Each of these characters becomes a sentence.
    std::string sentences;
    for (int i = 0; i < 1000; ++i)
        sentences += "\uFDFA";
    EXPECT_LE(Folded(sentences).size(), kFactFoldedMax);
    EXPECT_GT(Folded(sentences).size(), kFactFoldedMax - 4);
    // Marks are no letters, however many there are.
    std::string marks = "É";
    for (int i = 0; i < 2000; ++i)
        marks += "\u0301";
    EXPECT_EQ(Folded(marks + "Z"), "ez");
}

TEST(Folding, WhatIsNotUtf8CountsAsAReplacementCharacter) {
    EXPECT_EQ(Folded("A\xff\xfeZ"), "a\uFFFD\uFFFDz");
    EXPECT_EQ(Folded("É\xc3"), "e\uFFFD");
    EXPECT_EQ(Folded("\xed\xa0\x80"), "\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(Folded(std::string_view("A\0B", 3)), std::string("a\0b", 3));
}

TEST(Folding, ItsVersionGrowsWithUnicodes) {
    EXPECT_GE(FoldingVersion(), 14000001) << "Unicode 14.0.0 and a revision";
    EXPECT_NE(FoldingVersion() % 100, 0);
}
