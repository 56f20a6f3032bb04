// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/safe_text.h"

#include <gtest/gtest.h>
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>

#include "platform/handle.h"

namespace {

// On a terminal of that character set.
struct Terminal {
    explicit Terminal(const char *name) {
        setenv("LC_ALL", name, 1);
        SafeTextPrepare();
    }
    ~Terminal() {
        setenv("LC_ALL", "C", 1);
        SafeTextPrepare();
        unsetenv("LC_ALL");
    }
};

struct Case {
    const char *bytes;
    const char *shown;
};

} // namespace

TEST(SafeText, ShowsWhatATerminalMaySee) {
    const Terminal terminal("C.UTF-8");
    for (const Case &one : {Case{"song.mp3", "song.mp3"}, Case{"größe", "größe"}, Case{"日本", "日本"},
                            Case{"e\u0301", "e\u0301"}, Case{"", ""}})
        EXPECT_EQ(SafeText(one.bytes), one.shown);
}

TEST(SafeText, WritesOutWhatItMustNotSee) {
    const Terminal terminal("C.UTF-8");
    for (const Case &one :
         {Case{"\x1B[31mred", "\\x1B[31mred"}, Case{"a\nb\tc\rd", "a\\x0Ab\\x09c\\x0Dd"},
          Case{"\x7F", "\\x7F"},
          Case{"\xC2\x9B"
               "31m",
               "\\u{009B}31m"},
          Case{"a\u202Egpj", "a\\u{202E}gpj"}, Case{"\u200B", "\\u{200B}"}, Case{"\uFEFF", "\\u{FEFF}"},
          Case{"\U000E0041", "\\u{E0041}"}, Case{"back\\slash", "back\\\\slash"}})
        EXPECT_EQ(SafeText(one.bytes), one.shown);
}

TEST(SafeText, WritesOutBytesThatAreNoUtf8) {
    const Terminal terminal("C.UTF-8");
    for (const Case &one :
         {Case{"latin\xE9.mp3", "latin\\xE9.mp3"}, Case{"\xC0\xAF", "\\xC0\\xAF"},
          Case{"\xED\xA0\x80", "\\xED\\xA0\\x80"}, Case{"\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},
          Case{"\x9B", "\\x9B"}, Case{"cut\xE6\x97", "cut\\xE6\\x97"}})
        EXPECT_EQ(SafeText(one.bytes), one.shown);
}

TEST(SafeText, ShowsAsciiAloneWhereNothingElseIsKnownToBeSafe) {
    const Terminal terminal("C");
    EXPECT_EQ(SafeText("größe"), "gr\\u{00F6}\\u{00DF}e");
}

TEST(SafeText, LetsNamesOutWhereThereIsNoTerminal) {
    const Terminal terminal("C");
    SafeTextPrepare(false);
    for (const Case &one : {Case{"größe", "größe"}, Case{"日本", "日本"}, Case{"\x1B[31m", "\\x1B[31m"},
                            Case{"latin\xE9", "latin\\xE9"}, Case{"a\u202Egpj", "a\\u{202E}gpj"}})
        EXPECT_EQ(SafeText(one.bytes), one.shown);
    EXPECT_EQ(DisplayWidth("日本"), 4u);
    EXPECT_EQ(DisplayCut("songs", 4), "son…");
}

TEST(SafeText, KnowsTheTerminalOfAStreamOfItsOwn) {
    const Terminal terminal("C");
    SafeTextPrepare(false);
    const FileHandle file(fopen("/dev/null", "we"));
    EXPECT_EQ(SafeTextOn("größe", file.get()), "größe");
    const FileHandle master(fopen("/dev/ptmx", "r+e"));
    ASSERT_NE(master, nullptr);
    EXPECT_EQ(SafeTextOn("gr\xC3\xB6\xDF\\x", master.get()), "gr\\u{00F6}\\xDF\\x");
}

TEST(SafeText, MeasuresColumns) {
    const Terminal terminal("C.UTF-8");
    EXPECT_EQ(DisplayWidth("song"), 4u);
    EXPECT_EQ(DisplayWidth("größe"), 5u);
    EXPECT_EQ(DisplayWidth("日本"), 4u);
    EXPECT_EQ(DisplayWidth("e\u0301"), 1u);
}

TEST(SafeText, CutsToColumns) {
    const Terminal terminal("C.UTF-8");
    EXPECT_EQ(DisplayCut("song", 4), "song");
    EXPECT_EQ(DisplayCut("songs", 4), "son…");
    EXPECT_EQ(DisplayCut("日本語", 4), "日…") << "half a character is none";
    EXPECT_EQ(DisplayCut("songs", 1), "…");
    EXPECT_EQ(DisplayCut("songs", 0), "");
    EXPECT_EQ(DisplayCutMiddle("/music/song.mp3", 15), "/music/song.mp3");
    EXPECT_EQ(DisplayCutMiddle("/music/song.mp3", 14), "/music…ong.mp3");
    EXPECT_EQ(DisplayCutMiddle("/music/song.mp3", 5), "/m…p3");
    EXPECT_EQ(DisplayCutMiddle("日本語の歌", 6), "日…歌") << "half a character is none";
    EXPECT_EQ(DisplayCutMiddle("日本語の歌", 8), "日…の歌");
    EXPECT_EQ(DisplayCutMiddle("songs", 1), "…");
    EXPECT_EQ(DisplayCutMiddle("songs", 0), "");
}
