// SPDX-License-Identifier: GPL-2.0-or-later
//
// UTF-8, one character at a time (platform/utf8.h).
#include <gtest/gtest.h>

#include "platform/utf8.h"

namespace {

using namespace std::string_view_literals;

Utf8 Take(std::string_view text) {
    char32_t character = U'?';
    const std::string_view before = text;
    const Utf8 taken = Utf8Take(&text, &character);
    if (taken != Utf8::kCharacter) {
        EXPECT_EQ(text, before);
        EXPECT_EQ(character, U'?');
    }
    return taken;
}

bool ComesBack(char32_t character) {
    std::string text;
    Utf8Append(&text, character);
    std::string_view rest = text;
    char32_t taken = 0;
    return Utf8Take(&rest, &taken) == Utf8::kCharacter && taken == character && rest.empty();
}

TEST(Utf8Text, EveryCharacterComesBackAsItWasWritten) {
    for (char32_t character = 0; character <= 0x10FFFF; ++character)
        if ((character < 0xD800 || character > 0xDFFF) && !ComesBack(character))
            ADD_FAILURE() << static_cast<uint32_t>(character);
}

TEST(Utf8Text, WhatIsNoShortestFormOfACharacterIsInvalid) {
    for (const std::string_view text :
         {""sv, "\x80"sv, "\xBF"sv, "\xC0\x80"sv, "\xC1\xBF"sv, "\xE0\x9F\xBF"sv, "\xED\xA0\x80"sv,
          "\xED\xBF\xBF"sv, "\xF0\x8F\xBF\xBF"sv, "\xF4\x90\x80\x80"sv, "\xF5\x80\x80\x80"sv, "\xFE"sv,
          "\xFF"sv, "\xC3x"sv, "\xE2\x82x"sv, "\xE2x\x82"sv})
        EXPECT_EQ(Take(text), Utf8::kInvalid) << text;
}

TEST(Utf8Text, TheBeginOfACharacterIsCut) {
    for (const std::string_view text :
         {"\xC3"sv, "\xE2"sv, "\xE2\x82"sv, "\xF0"sv, "\xF0\x9F"sv, "\xF0\x9F\x98"sv})
        EXPECT_EQ(Take(text), Utf8::kCut) << text;
    EXPECT_EQ(Take("\xE0\x80"sv), Utf8::kInvalid) << "which no third byte makes right";
}

TEST(Utf8Text, OneCharacterIsTakenAtATime) {
    std::string_view text = "a\xC3\xA9\xE2\x82\xAC!";
    std::u32string taken;
    for (char32_t character = 0; Utf8Take(&text, &character) == Utf8::kCharacter;)
        taken += character;
    EXPECT_EQ(taken, U"aé€!");
}

TEST(Utf8Text, TheFrontEndsAtACharacter) {
    constexpr std::string_view kText = "a\xC3\xA9\xE2\x82\xAC";
    const size_t fronts[] = {0, 1, 1, 3, 3, 3, 6, 6};
    for (size_t size = 0; size < std::size(fronts); ++size)
        EXPECT_EQ(Utf8Front(kText, size), kText.substr(0, fronts[size])) << size;
    EXPECT_EQ(Utf8Front("", 0), "");
    EXPECT_EQ(Utf8Front("\xF0\x9F\x98\x80", 3), "");
}

} // namespace
