// SPDX-License-Identifier: GPL-2.0-or-later
//
// Comments of Ogg whose pictures are read one by one, whole and damaged.
#include "reader/sound/ogg_comments.h"

#include "reader/sound/base64.h"
#include "tests/unit/mp4_boxes.h"
#include "tests/unit/sound_bytes.h"

namespace {

using namespace std::string_literals;

constexpr uint32_t kLarge = 100'000;
constexpr size_t kSegment = 255;
constexpr size_t kPageSegments = 255;

std::string Base64Of(std::string_view bytes) {
    constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t at = 0; at < bytes.size(); at += 3) {
        const std::string_view part = bytes.substr(at, 3);
        uint32_t bits = 0;
        for (size_t i = 0; i < 3; ++i)
            bits = bits << 8 | (i < part.size() ? static_cast<uint8_t>(part[i]) : 0u);
        for (size_t i = 0; i < 4; ++i)
            text += i <= part.size() ? kLetters[bits >> 6 * (3 - i) & 63] : '=';
    }
    return text;
}

std::string PageOf(uint8_t flags, std::string_view segments, std::string_view content, uint64_t samples = 0) {
    return "OggS" + Nul() + U8(flags) + LittleNumber(samples, 8) + LittleNumber(7, 4) + LittleNumber(0, 8) +
           U8(static_cast<uint8_t>(segments.size())) + std::string(segments) + std::string(content);
}

// A packet in pages of its own, or with others behind it in the last of them, as Vorbis has its third one.
std::string PagesOf(std::string_view packet, std::string_view behind = {},
                    size_t page_segments = kPageSegments) {
    std::string segments(packet.size() / kSegment, static_cast<char>(kSegment));
    segments += static_cast<char>(packet.size() % kSegment);
    std::string pages;
    for (size_t at = 0; at < segments.size(); at += page_segments) {
        std::string part = segments.substr(at, page_segments);
        const bool is_last = at + page_segments >= segments.size();
        std::string content(packet.substr(at * kSegment, part.size() * kSegment));
        if (is_last && !behind.empty()) {
            part += static_cast<char>(behind.size());
            content += behind;
        }
        pages += PageOf(at == 0 ? 0 : 1, part, content);
    }
    return pages;
}

std::string Entry(const std::string &text) {
    return LittleNumber(text.size(), 4) + text;
}

std::string PictureBlock(uint32_t type, const std::string &picture) {
    return U32(type) + U32(9) + "image/png" + U32(1) + "d" + Zeros(16) +
           U32(static_cast<uint32_t>(picture.size())) + picture;
}

std::string PictureEntry(uint32_t type, const std::string &picture) {
    return Entry("Metadata_Block_Picture=" + Base64Of(PictureBlock(type, picture)));
}

std::string CommentsOf(const std::vector<std::string> &entries, const std::string &mark = "OpusTags") {
    std::string packet = mark + Entry("vendor") + LittleNumber(entries.size(), 4);
    for (const std::string &entry : entries)
        packet += entry;
    return packet;
}

const std::string kOpusHead = "OpusHead\x01\x02"s + LittleNumber(0, 2) + LittleNumber(48000, 4) + Zeros(3);
const std::string kSound = PageOf(4, "\x64", std::string(100, 's'), 48000);

std::string OpusFile(const std::string &comments, size_t page_segments = kPageSegments) {
    return PageOf(2, U8(static_cast<uint8_t>(kOpusHead.size())), kOpusHead) +
           PagesOf(comments, {}, page_segments) + kSound;
}

SoundFound OpusFind(const std::string &file) {
    return SoundFind(file, ContentFormat::ogg_opus);
}

// Whether TagLib is shown less than there is.
bool IsShortened(const std::string &bytes) {
    const FdHandle file = SoundMemory(bytes);
    ReaderInput input;
    input.fd = file.get();
    input.size = static_cast<int64_t>(bytes.size());
    return !OggCommentsFind(&input).head.empty();
}

TEST(SoundOgg, WhatLiesAroundPicturesIsRead) {
    const std::string front = PngBytes(kLarge);
    const std::string file = OpusFile(
        CommentsOf({PictureEntry(4, PngBytes(kLarge + 1)), Entry("TITLE=One"), PictureEntry(3, front),
                    Entry("artist=Somebody"), Entry("X=" + std::string(70'000, 'x'))}));
    const SoundFound found = OpusFind(file);
    EXPECT_EQ("One", found.Text(FactName::title));
    EXPECT_EQ("Somebody", found.Text(FactName::artist));
    EXPECT_TRUE(front == found.picture);
    EXPECT_EQ(1, found.Number(FactName::duration));
    EXPECT_EQ(2, found.Number(FactName::channels));
}

// Vorbis goes on behind them in the same page, FLAC has a size in front of them, and Speex nothing.
TEST(SoundOgg, EachCodingHasItsOwnFormOfComments) {
    const std::string front = PngBytes(kLarge);
    const std::vector<std::string> entries = {PictureEntry(3, front), Entry("TITLE=T")};
    const auto file = [](const std::string &first, const std::string &comments, const std::string &behind) {
        return PageOf(2, U8(static_cast<uint8_t>(first.size())), first) + PagesOf(comments, behind) + kSound;
    };
    const std::string vorbis =
        "\x01vorbis"s + Zeros(4) + "\x02" + LittleNumber(48000, 4) + Zeros(12) + "\xB8\x01";
    const std::string info =
        U16(4096) + U16(4096) + Zeros(6) +
        BigNumber(uint64_t{48000} << 44 | uint64_t{1} << 41 | uint64_t{15} << 36 | 48000, 8) + Zeros(16);
    const std::string flac = "\x7F"
                             "FLAC\x01"s +
                             Nul() + U16(1) + "fLaC" + Nul() + BigNumber(info.size(), 3) + info;
    const std::string speex = "Speex   1.2"s + Zeros(17) + LittleNumber(1, 4) + LittleNumber(80, 4) +
                              LittleNumber(48000, 4) + LittleNumber(2, 4) + LittleNumber(4, 4) +
                              LittleNumber(2, 4) + Zeros(28);
    const std::string plain = CommentsOf(entries, "");
    const struct {
        ContentFormat format;
        std::string file;
    } cases[] = {
        {ContentFormat::ogg_vorbis, file(vorbis, "\x03vorbis" + plain + "\x01", "\x05vorbis and codebooks")},
        {ContentFormat::ogg_flac, file(flac, "\x84" + BigNumber(plain.size(), 3) + plain, "")},
        {ContentFormat::ogg_speex, file(speex, plain, "")},
    };
    for (const auto &one : cases) {
        const SoundFound found = SoundFind(one.file, one.format);
        EXPECT_EQ("T", found.Text(FactName::title)) << static_cast<int>(one.format);
        EXPECT_TRUE(front == found.picture) << static_cast<int>(one.format);
        EXPECT_EQ(48000, found.Number(FactName::sample_rate)) << static_cast<int>(one.format);
        EXPECT_TRUE(IsShortened(one.file));
    }
}

TEST(SoundOgg, ShortPagesAreAsGood) {
    const std::string front = PngBytes(kLarge);
    EXPECT_TRUE(front == OpusFind(OpusFile(CommentsOf({PictureEntry(3, front)}), 16)).picture);
    EXPECT_TRUE(front == OpusFind(OpusFile(CommentsOf({PictureEntry(3, front)}), 1)).picture);
}

TEST(SoundOgg, PicturesWithoutATypeAreTakenLast) {
    const std::string plain = JpegBytes(kLarge);
    const std::string old = Entry("COVERART=" + Base64Of(plain));
    EXPECT_TRUE(plain == OpusFind(OpusFile(CommentsOf({old, Entry("TITLE=T")}))).picture);
    const std::string front = PngBytes(kLarge);
    EXPECT_TRUE(front == OpusFind(OpusFile(CommentsOf({old, PictureEntry(3, front)}))).picture);
}

TEST(SoundOgg, WhatIsNoPictureGivesWayToTheNext) {
    const std::string other = PngBytes(kLarge);
    std::string lying = PictureBlock(3, other);
    lying.replace(4, 4, U32(0xFFFFFFF0));
    const std::vector<std::string> useless = {PictureEntry(3, std::string(kLarge, 'n')),
                                              Entry("METADATA_BLOCK_PICTURE=" + Base64Of(lying)),
                                              Entry("METADATA_BLOCK_PICTURE=" + std::string(kLarge, '?')),
                                              Entry("METADATA_BLOCK_PICTURE="), Entry("COVERART=")};
    for (const std::string &entry : useless) {
        const SoundFound found =
            OpusFind(OpusFile(CommentsOf({entry, PictureEntry(4, other), Entry("TITLE=T")})));
        EXPECT_TRUE(other == found.picture);
        EXPECT_EQ("T", found.Text(FactName::title));
    }
}

TEST(SoundOgg, DamageCostsNoMoreThanItself) {
    const std::string file = OpusFile(CommentsOf({Entry("TITLE=T"), PictureEntry(3, PngBytes(kLarge))}));
    for (size_t size = 0; size < file.size(); size += size < 400 ? 1 : 4099)
        OpusFind(file.substr(0, size));
    EXPECT_EQ(0u, OpusFind(file.substr(0, file.size() / 2)).picture.size());
    // Lengths and counts that are not true.
    const std::string comments = CommentsOf({Entry("TITLE=T"), PictureEntry(3, PngBytes(kLarge))});
    for (const size_t at : {8u, 18u, 22u, 33u}) {
        std::string lying = comments;
        lying.replace(at, 4, LittleNumber(0xFFFFFFFF, 4));
        EXPECT_FALSE(IsShortened(OpusFile(lying))) << at;
    }
    // A page of another stream.
    std::string mixed = file;
    mixed.replace(mixed.rfind("OggS", mixed.size() - kSound.size() - 1) + 14, 4, "else");
    EXPECT_TRUE(IsShortened(file));
    EXPECT_FALSE(IsShortened(mixed));
}

TEST(SoundOgg, ShortCommentsAreTagLibs) {
    const auto file = [](int64_t size) {
        const std::string begin = CommentsOf({Entry("TITLE=T"), ""});
        const auto text = static_cast<size_t>(size) - begin.size() - 4 - 9;
        return OpusFile(CommentsOf({Entry("TITLE=T"), Entry("COVERART=" + std::string(text, 'A'))}));
    };
    EXPECT_FALSE(IsShortened(file(kSoundLargeComments - 1)));
    EXPECT_TRUE(IsShortened(file(kSoundLargeComments)));
}

TEST(SoundOgg, LongTextsAreTagLibs) {
    const auto file = [](size_t size) {
        const size_t others = CommentsOf({Entry("X=")}).size();
        return OpusFile(
            CommentsOf({Entry("X=" + std::string(size - others, 'x')), PictureEntry(3, PngBytes(kLarge))}));
    };
    // The length of a picture's entry is there before it is known for one.
    EXPECT_TRUE(IsShortened(file(kSoundShownCommentsMax - 4)));
    EXPECT_FALSE(IsShortened(file(kSoundShownCommentsMax - 3)));
    EXPECT_EQ(kLarge, OpusFind(file(kSoundShownCommentsMax - 3)).picture.size());
}

TEST(SoundOgg, TheNumberOfPagesIsBounded) {
    const size_t pages = kSoundCommentPagesMax;
    const auto comments = [](size_t size) {
        return CommentsOf(
            {Entry("TITLE=T"), Entry("COVERART=" + std::string(size - 8 - 10 - 4 - 11 - 13, 'A'))});
    };
    EXPECT_TRUE(IsShortened(OpusFile(comments(pages * kSegment - 1), 1)));
    EXPECT_FALSE(IsShortened(OpusFile(comments(pages * kSegment), 1)));
}

TEST(SoundOgg, Base64IsDecodedInItsPlace) {
    const auto decoded = [](std::string text) {
        const Bytes bytes = Base64Decode({reinterpret_cast<uint8_t *>(text.data()), text.size()});
        return std::string(Characters(bytes));
    };
    EXPECT_EQ("", decoded(""));
    EXPECT_EQ("f", decoded("Zg=="));
    EXPECT_EQ("fo", decoded("Zm8="));
    EXPECT_EQ("foobar", decoded("Zm9vYmFy"));
    EXPECT_EQ("\xFF\xFB\xFF"s, decoded("//v/"));
    EXPECT_EQ("", decoded("Zm9v YmFy")) << "a blank does not belong there";
    EXPECT_EQ("foo", decoded("Zm9v=Ym"));
}

} // namespace
