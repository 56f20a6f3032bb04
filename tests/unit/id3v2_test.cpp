// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/id3v2.h"

#include "log_catcher.h"
#include "mp3_bytes.h"
#include "platform/limits.h"

#include <string.h>

using namespace mp3_bytes;

namespace {

const std::string kLatin("\0", 1); // encoding bytes
const std::string kUtf16 = "\1";
const std::string kUtf16BigEndian = "\2";
const std::string kUtf8 = "\3";

// "Hi" in UTF-16 with its mark.
const std::string kHi = "\xFF\xFEH\0i\0"s;

Id3v2Tag Walk(const std::string &bytes) {
    Opened file(bytes);
    Id3v2Tag tag;
    memset(&tag, 'x', sizeof tag); // the walk zeroes it
    int version = 0;
    Id3v2HeaderRead(&file.ctx, &version);
    if (version == 2)
        Id3v22FramesRead(&tag, &file.ctx, version, "/volume1/music/song.mp3");
    else
        Id3v23FramesRead(&tag, &file.ctx, version, "/volume1/music/song.mp3");
    return tag;
}

std::string Bytes(const char *field, size_t count) {
    return {field, count};
}

TEST(Id3v2, HeaderGivesVersionAndEnd) {
    int version = 9;
    Opened tagged(Tag(3, std::string(300, '\0')));
    EXPECT_EQ(Id3v2HeaderRead(&tagged.ctx, &version), 310);
    EXPECT_EQ(version, 3);
    Opened bare(Frames(2));
    EXPECT_EQ(Id3v2HeaderRead(&bare.ctx, &version), 0);
    EXPECT_EQ(version, 0);
    Opened empty("");
    EXPECT_EQ(Id3v2HeaderRead(&empty.ctx, &version), 0);
    Opened lower("id3\3\0\0\0\0\0\0"s);
    EXPECT_EQ(Id3v2HeaderRead(&lower.ctx, &version), 0);
    Opened cut("ID3");
    EXPECT_EQ(Id3v2HeaderRead(&cut.ctx, &version), (17 << 21 | 17 << 14 | 17 << 7 | 17) + 10);
    EXPECT_EQ(version, 17);
}

TEST(Id3v2, AllFieldsOfVersion3) {
    const Id3v2Tag tag = Walk(Tag(3, Frame23("TIT2", kLatin + "t") + Frame23("TPE1", kLatin + "ar") +
                                         Frame23("TALB", kLatin + "al") + Frame23("TYER", kLatin + "1999") +
                                         Frame23("TCON", kLatin + "(17)") + Frame23("TRCK", kLatin + "3/12") +
                                         Frame23("TPOS", kLatin + "1/2") + Frame23("TCOM", kLatin + "co") +
                                         Frame23("COMM", kLatin + "engd\0text"s)));
    EXPECT_STREQ(tag.title, "t");
    EXPECT_STREQ(tag.artist, "ar");
    EXPECT_STREQ(tag.album, "al");
    EXPECT_STREQ(tag.year, "1999");
    EXPECT_STREQ(tag.genre, "(17)");
    EXPECT_STREQ(tag.track, "3");
    EXPECT_STREQ(tag.disc, "1");
    EXPECT_STREQ(tag.composer, "co");
    EXPECT_STREQ(tag.comment, "text");
    EXPECT_EQ(tag.title_utf16 + tag.artist_utf16 + tag.album_utf16 + tag.year_utf16 + tag.genre_utf16 +
                  tag.composer_utf16 + tag.comment_utf16 + tag.cover_count,
              0);
}

TEST(Id3v2, AllFieldsOfVersion2) {
    const Id3v2Tag tag = Walk(Tag(2, Frame22("TT2", kLatin + "t") + Frame22("TP1", kLatin + "ar") +
                                         Frame22("TAL", kLatin + "al") + Frame22("TYE", kLatin + "1999") +
                                         Frame22("TCO", kLatin + "Jazz") + Frame22("TRK", kLatin + "3/12") +
                                         Frame22("TPA", kLatin + "1/2") + Frame22("TCM", kLatin + "co") +
                                         Frame22("COM", kLatin + "engd\0text"s)));
    EXPECT_STREQ(tag.title, "t");
    EXPECT_STREQ(tag.artist, "ar");
    EXPECT_STREQ(tag.album, "al");
    EXPECT_STREQ(tag.year, "1999");
    EXPECT_STREQ(tag.genre, "Jazz");
    EXPECT_STREQ(tag.track, "3");
    EXPECT_STREQ(tag.disc, "1");
    EXPECT_STREQ(tag.composer, "co");
    EXPECT_STREQ(tag.comment, "text");
}

TEST(Id3v2, IdsCompareWithoutCase) {
    EXPECT_STREQ(Walk(Tag(3, Frame23("Tit2", kLatin + "t"))).title, "t");
    EXPECT_STREQ(Walk(Tag(2, Frame22("Tt2", kLatin + "t"))).title, "t");
    EXPECT_STREQ(Walk(Tag(3, Frame23("tIT2", kLatin + "t"))).title, ""); // "t" is no first byte
}

TEST(Id3v2, ExtendedHeaderEndsTheWalk) {
    const std::string extended = "\0\0\0\6\0\0\0\0\0\0"s;
    EXPECT_STREQ(Walk(Tag(3, extended + Frame23("TIT2", kLatin + "t"))).title, "");
    // One that begins like a frame is taken for one.
    const std::string like_a_frame = "0\0\0\0"s + Big32(6) + "\0\0"s + "header";
    EXPECT_STREQ(Walk(Tag(3, like_a_frame + Frame23("TIT2", kLatin + "t"))).title, "t");
}

TEST(Id3v2, FirstBytesOfFrames) {
    for (const char first : {'0', '9', 'A', 'Z'})
        EXPECT_STREQ(Walk(Tag(3, Frame23(first + "XXX"s, "x") + Frame23("TIT2", kLatin + "t"))).title, "t");
    for (const char first : {'/', '[', '\0', '\x11', '\xFF'})
        EXPECT_STREQ(Walk(Tag(3, Frame23(first + "XXX"s, "x") + Frame23("TIT2", kLatin + "t"))).title, "");
}

TEST(Id3v2, LongTextFrameEndsTheWalk) {
    const std::string first = Frame23("TPE1", kLatin + "artist");
    const std::string last = Frame23("TALB", kLatin + "album");
    Id3v2Tag tag = Walk(Tag(3, first + Frame23("TIT2", kLatin + std::string(1999, 't')) + last));
    EXPECT_STREQ(tag.artist, "artist");
    EXPECT_STREQ(tag.title, "");
    EXPECT_STREQ(tag.album, "");
    tag = Walk(Tag(3, first + Frame23("XXXX", std::string(kId3TextFrameMax + 1, 't')) + last));
    EXPECT_STREQ(tag.album, "");
    tag = Walk(Tag(3, first + Frame23("TIT2", kLatin + std::string(kId3TextFrameMax - 1, 't')) + last));
    EXPECT_EQ(tag.title, std::string(kId3TextFrameMax - 1, 't'));
    EXPECT_STREQ(tag.album, "album");
}

TEST(Id3v2, LongPictureFrameDoesNotEndTheWalk) {
    const std::string picture = Picture("image/gif", 3, std::string(5000, 'p'));
    EXPECT_STREQ(Walk(Tag(3, Frame23("APIC", picture) + Frame23("TIT2", kLatin + "t"))).title, "t");
    EXPECT_STREQ(Walk(Tag(3, Frame23("aPIC", picture) + Frame23("TIT2", kLatin + "t"))).title, "");
    EXPECT_STREQ(Walk(Tag(3, Frame23("Apic", picture) + Frame23("TIT2", kLatin + "t"))).title, "t");
    EXPECT_STREQ(Walk(Tag(2, Frame22("PIC", std::string(5000, 'p')) + Frame22("TT2", kLatin + "t"))).title,
                 "t");
    EXPECT_STREQ(Walk(Tag(2, Frame22("XXX", std::string(5000, 'p')) + Frame22("TT2", kLatin + "t"))).title,
                 "");
}

TEST(Id3v2, SecondTitleWins) {
    EXPECT_STREQ(Walk(Tag(3, Frame23("TIT2", kLatin + "first") + Frame23("TIT2", kLatin + "2nd"))).title,
                 "2nd");
}

TEST(Id3v2, PlainTitleBehindAUtf16OneWinsWithItsFlag) {
    const Id3v2Tag tag = Walk(Tag(3, Frame23("TIT2", kUtf16 + kHi) + Frame23("TIT2", kLatin + "plain")));
    EXPECT_STREQ(tag.title, "plain");
    EXPECT_EQ(tag.title_utf16, 0);
}

TEST(Id3v2, FirstCommentThatIsNotEmptyWins) {
    const std::string empty = Frame23("COMM", kLatin + "eng\0\0"s);
    const std::string first = Frame23("COMM", kLatin + "eng\0first"s);
    const std::string second = Frame23("COMM", kLatin + "eng\0second"s);
    EXPECT_STREQ(Walk(Tag(3, empty + first + second)).comment, "first");
}

TEST(Id3v2, CommentDescriptionEndsAtItsFirstZeroByteInUtf16Too) {
    // The description's first character has the zero byte; what follows is the text.
    const Id3v2Tag tag = Walk(Tag(3, Frame23("COMM", kUtf16 + "eng\xFF\xFE" + "d\0\0\0"s + kHi)));
    EXPECT_EQ(tag.comment_utf16, 0);
    EXPECT_STREQ(tag.comment, "");
}

TEST(Id3v2, CommentInUtf16WithAnEmptyDescription) {
    const Id3v2Tag tag = Walk(Tag(3, Frame23("COMM", kUtf16 + "eng\0"s + kHi)));
    EXPECT_EQ(tag.comment_utf16, 1);
    EXPECT_EQ(Bytes(tag.comment, 8), kHi + "\0\0"s);
}

TEST(Id3v2, CommentsWithoutText) {
    const std::string next = Frame23("COMM", kLatin + "eng\0next"s);
    EXPECT_STREQ(Walk(Tag(3, Frame23("COMM", kLatin + "engdescription") + next)).comment, "next");
    EXPECT_STREQ(Walk(Tag(3, Frame23("COMM", kLatin + "engdescription\0"s) + next)).comment, "next");
    for (size_t size = 0; size <= 5; ++size)
        EXPECT_STREQ(Walk(Tag(3, Frame23("COMM", (kLatin + "eng\0"s).substr(0, size)) + next)).comment,
                     "next");
}

TEST(Id3v2, FramesWithoutTextStoreNothing) {
    const std::string first = Frame23("TIT2", kLatin + "first");
    EXPECT_STREQ(Walk(Tag(3, first + Frame23("TIT2", ""))).title, "first");
    EXPECT_STREQ(Walk(Tag(3, first + Frame23("TIT2", kLatin))).title, "first");
    EXPECT_STREQ(Walk(Tag(3, first + Frame23("TIT2", kUtf16BigEndian))).title, "first");
    EXPECT_STREQ(Walk(Tag(3, first + Frame23("TIT2", kLatin + "\0"s))).title, "");
}

TEST(Id3v2, Utf16KeepsItsMark) {
    for (const std::string &text : {kHi, "\xFE\xFF\0H\0i"s}) {
        const Id3v2Tag tag = Walk(Tag(3, Frame23("TIT2", kUtf16 + text)));
        EXPECT_EQ(tag.title_utf16, 1);
        EXPECT_EQ(Bytes(tag.title, 8), text + "\0\0"s);
    }
}

TEST(Id3v2, Utf16EndsAtAPairOfZeros) {
    const Id3v2Tag tag = Walk(Tag(3, Frame23("TIT2", kUtf16 + kHi + "\0\0x\0"s)));
    EXPECT_EQ(Bytes(tag.title, 10), kHi + "\0\0\0\0"s);
}

TEST(Id3v2, Encoding1WithoutAMarkIsPlain) {
    const Id3v2Tag tag = Walk(Tag(3, Frame23("TIT2", kUtf16 + "H\0i\0"s)));
    EXPECT_EQ(tag.title_utf16, 0);
    EXPECT_STREQ(tag.title, "H");
}

TEST(Id3v2, Encoding2GetsAMarkInVersion3ButNotInVersion2) {
    Id3v2Tag tag = Walk(Tag(3, Frame23("TIT2", kUtf16BigEndian + "\0H\0i"s)));
    EXPECT_EQ(tag.title_utf16, 1);
    EXPECT_EQ(Bytes(tag.title, 8), "\xFE\xFF\0H\0i\0\0"s);
    tag = Walk(Tag(2, Frame22("TT2", kUtf16BigEndian + "Hi"s)));
    EXPECT_EQ(tag.title_utf16, 0);
    EXPECT_STREQ(tag.title, "Hi");
    tag = Walk(Tag(2, Frame22("TT2", kUtf16 + kHi)));
    EXPECT_EQ(tag.title_utf16, 1);
}

TEST(Id3v2, Utf8AndUnknownEncodingsArePlain) {
    EXPECT_STREQ(Walk(Tag(4, Frame24("TIT2", kUtf8 + "\xC3\xA9"))).title, "\xC3\xA9");
    EXPECT_STREQ(Walk(Tag(3, Frame23("TIT2", "\x09t"))).title, "t");
}

TEST(Id3v2, TheLongestTextFillsTheFieldAndNoMore) {
    // 1022 bytes and the two of the mark: the field's last two stay zero.
    const Id3v2Tag tag = Walk(Tag(3, Frame23("TIT2", kUtf16BigEndian + std::string(1022, 'a'))));
    EXPECT_EQ(Bytes(tag.title, 1024), "\xFE\xFF" + std::string(1020, 'a') + "\0\0"s);
    // The same without a zero byte anywhere, into a number.
    const Id3v2Tag number = Walk(Tag(3, Frame23("TRCK", kUtf16BigEndian + std::string(1022, '1'))));
    EXPECT_STREQ(number.track, "\xFE\xFF"
                               "11111");
}

TEST(Id3v2, SmallFieldsAreCut) {
    const Id3v2Tag tag = Walk(
        Tag(3, Frame23("TYER", kLatin + "1999-12-31") + Frame23("TRCK", kLatin + "123456789/2") +
                   Frame23("TCON", kLatin + std::string(200, 'g')) + Frame23("TPOS", kLatin + "1234567/8")));
    EXPECT_STREQ(tag.year, "1999-12");
    EXPECT_STREQ(tag.track, "1234567");
    EXPECT_STREQ(tag.disc, "1234567");
    EXPECT_EQ(tag.genre, std::string(127, 'g'));
    const Id3v2Tag wide = Walk(Tag(3, Frame23("TCON", kUtf16 + "\xFF\xFE" + std::string(200, 'g'))));
    EXPECT_EQ(Bytes(wide.genre, 128), "\xFF\xFE" + std::string(124, 'g') + "\0\0"s);
    const Id3v2Tag year = Walk(Tag(3, Frame23("TYER", kUtf16 + "\xFF\xFE" + "1\0009\0009\0009\0"s)));
    EXPECT_EQ(year.year_utf16, 1);
    EXPECT_EQ(Bytes(year.year, 8), "\xFF\xFE"
                                   "1\0009\0\0\0"s);
}

TEST(Id3v2, Utf16NumbersAreStoredAsTheirBytes) {
    const Id3v2Tag tag = Walk(Tag(3, Frame23("TRCK", kUtf16 + "\xFF\xFE" + "3\0/\0005\0"s)));
    EXPECT_STREQ(tag.track, "\xFF\xFE"
                            "3");
}

TEST(Id3v2, SizesAreSyncsafeButInVersion3) {
    const std::string text = kLatin + std::string(199, 't');
    for (int version : {4, 5, 255})
        EXPECT_STREQ(Walk(Tag(version, Frame24("TIT2", text) + Frame24("TALB", kLatin + "a"))).album, "a");
    EXPECT_STREQ(Walk(Tag(3, Frame23("TIT2", text) + Frame23("TALB", kLatin + "a"))).album, "a");
}

TEST(Id3v2, TheWalkEndsWithTheTag) {
    const std::string frame = Frame23("TIT2", kLatin + "t");
    EXPECT_STREQ(Walk(Tag(3, frame) + Frame23("TIT2", kLatin + "audio")).title, "t");
}

TEST(Id3v2, TagEndFarBehindTheFile) {
    const std::string header = "ID3\3\0\0\x7F\x7F\x7F\x7F"s;
    EXPECT_STREQ(Walk(header + Frame23("TIT2", kLatin + "t")).title, "t");
    // The frame's text ends with the file; filler completes it.
    EXPECT_STREQ(Walk(header + "TIT2" + Big32(4) + "\0\0\0t"s).title, "t\x11\x11");
    EXPECT_STREQ(Walk("ID3\3\0\0\xFF\xFF\xFF\xFF"s).title, "");
}

TEST(Id3v2, FrameSizesBeyond32BitsOfPosition) {
    std::string frames = Frame23("TIT2", kLatin + "t");
    frames += "APIC" + Big32(0xFFFFFFFF) + "\0\0\0image/jpeg\0\3\0"s;
    EXPECT_STREQ(Walk(Tag(3, frames)).title, "t");
}

TEST(Id3v2, MissingArguments) {
    LogCatcher log;
    Opened file(Tag(3, Frame23("TIT2", kLatin + "t")));
    Id3v2Tag tag = {};
    for (auto *walk : {Id3v22FramesRead, Id3v23FramesRead}) {
        walk(nullptr, &file.ctx, 3, "/a");
        EXPECT_NE(log.Next().find(") Bad parameters."), std::string::npos);
        walk(&tag, nullptr, 3, "/a");
        EXPECT_NE(log.Next().find(") Bad parameters."), std::string::npos);
        walk(&tag, &file.ctx, 3, nullptr);
        EXPECT_NE(log.Next().find(") Bad parameters."), std::string::npos);
    }
    EXPECT_STREQ(tag.title, "");
}

TEST(Id3CopyUtf16, CopiesPairsBelowTheLimit) {
    char out[9];
    Id3CopyUtf16("\xFF\xFE"
                 "abcdefgh\0\0",
                 out, 9);
    EXPECT_EQ(Bytes(out, 9), "\xFF\xFE"
                             "abcdef\0"s); // i < limit - 2: the pair at 6 is the last
    Id3CopyUtf16("\xFF\xFE"
                 "abcdefgh\0\0",
                 out, 8);
    EXPECT_EQ(Bytes(out, 8), "\xFF\xFE"
                             "abcd\0\0"s);
    Id3CopyUtf16("\xFE\xFF"
                 "a\0\0\0",
                 out, 9);
    EXPECT_EQ(Bytes(out, 9), "\xFE\xFF"
                             "a\0\0\0\0\0\0"s);
}

TEST(Id3CopyUtf16, WithoutAMarkNothingIsCopied) {
    char out[9];
    memset(out, 'x', sizeof out);
    Id3CopyUtf16("abcdefgh\0", out, 9);
    EXPECT_EQ(Bytes(out, 9), std::string(9, '\0'));
}

} // namespace
