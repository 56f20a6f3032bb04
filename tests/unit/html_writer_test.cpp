// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/html_writer.h"

#include <gtest/gtest.h>
#include <math.h>

namespace {

std::string TextOf(std::string_view bytes) {
    return HtmlWriter().Text(bytes).text();
}

std::string Base64Of(std::string_view bytes) {
    return HtmlWriter().Base64(bytes).text();
}

std::string CoordinateOf(double value) {
    return HtmlWriter().Coordinate(value).text();
}

} // namespace

TEST(HtmlWriter, MarkupStaysAndTextIsEscaped) {
    HtmlWriter html;
    html.Put("<b title=\"").Text("\" onclick='x' <&>").Put("\">");
    EXPECT_EQ(html.text(), "<b title=\"&quot; onclick=&#39;x&#39; &lt;&amp;&gt;\">");
}

TEST(HtmlWriter, NoByteOfATextBecomesMarkup) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    const std::string text = TextOf(all);
    EXPECT_EQ(text.find_first_of("<>\"'"), std::string::npos);
    for (const char byte : text)
        EXPECT_TRUE(byte >= 0x20 && byte < 0x7F) << static_cast<int>(byte);
}

TEST(HtmlWriter, BytesThatAreNoUtf8AreWrittenOut) {
    EXPECT_EQ(TextOf("a\xE9z"), "a\\xE9z");
    EXPECT_EQ(TextOf("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80");
}

TEST(HtmlWriter, LettersOfAllLanguagesStayWhateverTheTerminal) {
    for (const char *text : {"\u05E2\u05D5\u05E4", "\u5742\u672C", "n\u0303", "\u2764\uFE0F",
                             "\u0645\u06CC\u200C\u062E", "\U0001F468\u200D\U0001F469"})
        EXPECT_EQ(TextOf(text), text);
}

TEST(HtmlWriter, WhatReordersOrHidesIsWrittenOut) {
    EXPECT_EQ(TextOf("\u202Egpj.exe"), "\\u{202E}gpj.exe");
    EXPECT_EQ(TextOf("\u2066x\uFEFF\u0085"), "\\u{2066}x\\u{FEFF}\\u{0085}");
    EXPECT_EQ(TextOf("\uFFFE\U0001FFFF"), "\\u{FFFE}\\u{1FFFF}") << "no characters";
}

TEST(HtmlWriter, Base64) {
    EXPECT_EQ(Base64Of(""), "");
    EXPECT_EQ(Base64Of("f"), "Zg==");
    EXPECT_EQ(Base64Of("fo"), "Zm8=");
    EXPECT_EQ(Base64Of("foo"), "Zm9v");
    EXPECT_EQ(Base64Of("foobar"), "Zm9vYmFy");
    EXPECT_EQ(Base64Of(std::string("\xFF\xD8\xFF\0", 4)), "/9j/AA==");
}

TEST(HtmlWriter, CoordinatesAreNumbers) {
    EXPECT_EQ(CoordinateOf(12.345), "12.35");
    EXPECT_EQ(CoordinateOf(NAN), "0.00");
    EXPECT_EQ(CoordinateOf(INFINITY), "0.00");
    EXPECT_EQ(CoordinateOf(-1e300), "-1000000.00");
}
