// SPDX-License-Identifier: GPL-2.0-or-later
//
// The pattern of a folded text finds what folding would: for engines that cannot fold themselves.
#include "tools/veluctl/search/folded_pattern.h"

#include <gtest/gtest.h>
#include <regex.h>

#include "platform/folding/folding.h"

namespace {

// POSIX's expressions have no groups without a number; over bytes they mean the same otherwise.
bool Finds(const std::string &text, const std::string &folded, bool whole) {
    std::string pattern = FoldedPattern(folded, whole);
    for (size_t at = 0; (at = pattern.find("(?:", at)) != std::string::npos;)
        pattern.erase(at + 1, 2);
    regex_t compiled;
    EXPECT_EQ(regcomp(&compiled, pattern.c_str(), REG_EXTENDED | REG_NOSUB), 0) << pattern;
    const bool found = regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
    regfree(&compiled);
    return found;
}

constexpr const char *kTexts[] = {"Beyoncé",
                                  "BEYONCE",
                                  "Beyonce\u0301",
                                  "Ｂｅｙｏｎｃé",
                                  "Straße",
                                  "STRASSE",
                                  "Αθήνα",
                                  "Sigur Rós",
                                  "Sigur Ros",
                                  "Çelik",
                                  "ﬁnal oﬀer",
                                  "(live) [a.b]",
                                  "a+b*c?",
                                  "100%_\\",
                                  "Ł Ø đ ı",
                                  "한국",
                                  "\u1112\u1161\u11AB\u1100\u116E\u11A8",
                                  "が",
                                  "か\u3099",
                                  "№ 5",
                                  "Ⅷ",
                                  "שָׁלוֹם",
                                  "שלום",
                                  "Москва",
                                  "МОСКВА",
                                  "Ёлка",
                                  "a\u00A0b",
                                  "",
                                  "x"};

} // namespace

TEST(SearchPattern, FindsWhatFoldingFinds) {
    constexpr size_t kMost = 256;
    for (const char *typed :
         {"beyonce", "yonc",   "strasse", "ss",     "αθηνα", "sigur ros", "celik", "final",
          "offer",   "(live)", "[a.b]",   "a+b*c?", "%_\\",  "ł",         "한국",  "か",
          "no 5",    "viii",   "שלום",    "москва", "елка",  "a b",       "x",     "e"}) {
        const std::string folded = TextFolded(typed, kMost);
        for (const char *text : kTexts) {
            const std::string all = TextFolded(text, kMost);
            EXPECT_EQ(Finds(text, folded, false), all.find(folded) != std::string::npos)
                << typed << " in " << text;
            EXPECT_EQ(Finds(text, folded, true), all == folded) << typed << " is " << text;
        }
    }
}

TEST(SearchPattern, EveryLetterWithACaseOrAnAccentFindsItself) {
    for (const char *text : {"ÀÉÎÕÜÝ", "āĕįőųŷž", "ΆΈΉΊΌΎΏ", "ЙЁЇЎ", "ẠẾỒỬỸ", "ＡＢＣ１２３", "ºª²³"}) {
        const std::string folded = TextFolded(text, 256);
        EXPECT_TRUE(Finds(text, folded, true)) << text << " as " << folded;
        EXPECT_TRUE(Finds(folded, folded, true)) << folded;
    }
}
