// SPDX-License-Identifier: GPL-2.0-or-later
#include "tests/unit/sound_bytes.h"

#include <zlib.h>

#include <string_view>

namespace {

using namespace std::string_literals;

SoundFound Tagged(int version, const std::string &body, int flags = 0, const char *charset = "") {
    return SoundFind(SoundTag(version, body, flags) + SoundMpeg(), ContentFormat::mpeg_audio, charset);
}

std::string Latin(const std::string &text) {
    return Nul() + text;
}

std::string Utf8(const std::string &text) {
    return "\x03" + text;
}

std::string Compressed(const std::string &data) {
    uLongf size = compressBound(data.size());
    std::string out(size, '\0');
    EXPECT_EQ(compress(reinterpret_cast<Bytef *>(out.data()), &size,
                       reinterpret_cast<const Bytef *>(data.data()), data.size()),
              Z_OK);
    out.resize(size);
    return out;
}

std::string Unsynchronised(const std::string &data) {
    std::string out;
    for (size_t i = 0; i < data.size(); ++i) {
        out += data[i];
        if (data[i] == '\xFF' && (i + 1 == data.size() || data[i + 1] == 0 || (data[i + 1] & 0xE0) == 0xE0))
            out += '\0';
    }
    return out;
}

TEST(SoundId3, ExtendedHeadersAreSteppedOver) {
    const std::string title3 = SoundFrame(3, "TIT2", Latin("Three"));
    EXPECT_EQ(Tagged(3, BigNumber(6, 4) + std::string(6, '\0') + title3, 0x40).Text(FactName::title),
              "Three");
    EXPECT_EQ(Tagged(3, BigNumber(10, 4) + std::string(10, '\0') + title3, 0x40).Text(FactName::title),
              "Three");
    const std::string title4 = SoundFrame(4, "TIT2", Latin("Four"));
    EXPECT_EQ(Tagged(4, SyncsafeNumber(6) + "\x01\x00"s + title4, 0x40).Text(FactName::title), "Four");
    EXPECT_EQ(Tagged(3, title3, 0x40).Text(FactName::title), "Three") << "the flag without the header";
}

TEST(SoundId3, TheLastFrameBeforeAFooterCounts) {
    const std::string body = SoundFrame(4, "TIT2", Latin("Title")) + SoundFrame(4, "TPE1", Latin("Last"));
    std::string tag = SoundTag(4, body, 0x10);
    tag += "3DI" + tag.substr(3, 7);
    const SoundFound found = SoundFind(tag + SoundMpeg(), ContentFormat::mpeg_audio);
    EXPECT_EQ(found.Text(FactName::artist), "Last");
    const SoundFound behind = SoundFind(SoundMpeg() + tag, ContentFormat::mpeg_audio);
    EXPECT_EQ(behind.Text(FactName::artist), "Last");
    EXPECT_NEAR(behind.Number(FactName::duration), found.Number(FactName::duration), 0.001);
}

TEST(SoundId3, FramesOfVersion22) {
    const SoundFound found =
        Tagged(2, SoundFrame(2, "TT2", Latin("Title")) + SoundFrame(2, "TXT", Latin("Lyricist")) +
                      SoundFrame(2, "TCM", Latin("Composer")) + SoundFrame(2, "TRK", Latin("3/12")) +
                      SoundFrame(2, "TYE", Latin("1999")) + SoundFrame(2, "TDA", Latin("0605")) +
                      SoundFrame(2, "COM", Latin("eng") + Nul() + "Comment") +
                      SoundFrame(2, "PIC", Latin("PNG") + "\x03" + Nul() + "\x89PNG\r\n\x1A\n...") +
                      SoundFrame(2, "TCP", Latin("1")) + SoundFrame(2, "ULT", Latin("eng") + Nul() + "La"));
    EXPECT_EQ(found.Text(FactName::title), "Title");
    EXPECT_EQ(found.Text(FactName::lyricist), "Lyricist");
    EXPECT_EQ(found.Text(FactName::composer), "Composer");
    EXPECT_EQ(found.Number(FactName::track), 3);
    EXPECT_EQ(found.Number(FactName::tracktotal), 12);
    EXPECT_EQ(found.Text(FactName::date), "1999-05-06");
    EXPECT_EQ(found.Number(FactName::year), 1999);
    EXPECT_EQ(found.Text(FactName::comment), "Comment");
    EXPECT_EQ(found.Number(FactName::compilation), 1);
    EXPECT_EQ(found.Text(FactName::lyrics), "La");
    EXPECT_EQ(found.picture, "\x89PNG\r\n\x1A\n...");
}

TEST(SoundId3, SeveralTitlesAndAlbums) {
    const std::vector<std::string> both = {"One", "Two"};
    const SoundFound found =
        Tagged(4, SoundFrame(4, "TIT2", Latin("One" + Nul() + "Two" + Nul() + "One")) +
                      SoundFrame(4, "TALB", Latin("One")) + SoundFrame(4, "TALB", Latin("Two")));
    EXPECT_EQ(found.Texts(FactName::title), both);
    EXPECT_EQ(found.Texts(FactName::album), both);
}

TEST(SoundId3, NamesOf22InATagOf23) {
    EXPECT_EQ(Tagged(3, SoundFrame(3, "TT2"s + Nul(), Latin("Title"))).Text(FactName::title), "Title");
}

TEST(SoundId3, PackedFrames) {
    const std::string text = Latin("Packed");
    const std::string packed = Compressed(text);
    const auto title = [&](int version, int flags, const std::string &data) {
        return Tagged(version, SoundFrame(version, "TIT2", data, flags)).Text(FactName::title);
    };
    EXPECT_EQ(title(3, 0x80, BigNumber(text.size(), 4) + packed), "Packed");
    EXPECT_EQ(title(3, 0xA0, BigNumber(text.size(), 4) + "g" + packed), "Packed") << "of a group";
    EXPECT_EQ(title(4, 0x09, SyncsafeNumber(text.size()) + packed), "Packed");
    EXPECT_EQ(title(4, 0x49, "g" + SyncsafeNumber(text.size()) + packed), "Packed");
    EXPECT_EQ(title(4, 0x01, SyncsafeNumber(text.size()) + text), "Packed");
    EXPECT_EQ(title(4, 0x04, "e" + text), "(none)") << "encrypted";
    EXPECT_EQ(title(3, 0x80, BigNumber(text.size(), 4) + "no zlib"), "(none)");
    EXPECT_EQ(title(4, 0x09, "ab"), "(none)") << "shorter than what stands before";
}

TEST(SoundId3, Unsynchronisation) {
    const std::string text = "\x01\xFF\xFE" + "\xFF\x00T\x00\xFF\x00"s; // U+00FF, T, U+00FF
    const std::string picture = Latin("image/jpeg") + Nul() + "\x03" + Nul() + "\xFF\xD8\xFF\xE0\xFF\x00..."s;
    for (const int version : {3, 4}) {
        const auto frame = [&](const char *name, const std::string &data, int flags) {
            return SoundFrame(version, name, version == 4 ? Unsynchronised(data) : data, flags);
        };
        const int flags = version == 4 ? 0x02 : 0;
        const std::string body = frame("TIT2", text, flags) + frame("APIC", picture, flags);
        const SoundFound found = Tagged(version, version == 4 ? body : Unsynchronised(body), 0x80);
        EXPECT_EQ(found.Text(FactName::title), "ÿTÿ") << version;
        EXPECT_EQ(found.picture, "\xFF\xD8\xFF\xE0\xFF\x00..."s) << version;
    }
    const SoundFound plain = Tagged(3, SoundFrame(3, "TIT2", text), 0x80);
    EXPECT_EQ(plain.Text(FactName::title), "ÿTÿ") << "the flag alone";
}

TEST(SoundId3, SizesOf24ThatArePlainNumbers) {
    const std::string longer(300, 'x');
    const std::string body = "TIT2" + BigNumber(301, 4) + "\0\0"s + Latin(longer) + "TPE1" + BigNumber(7, 4) +
                             "\0\0"s + Latin("Artist") + std::string(50, '\0');
    const SoundFound found = Tagged(4, body);
    EXPECT_EQ(found.Text(FactName::title), longer);
    EXPECT_EQ(found.Text(FactName::artist), "Artist");
}

TEST(SoundId3, Encodings) {
    const auto title = [](const std::string &data, const char *charset = "") {
        return Tagged(4, SoundFrame(4, "TIT2", data), 0, charset).Text(FactName::title);
    };
    EXPECT_EQ(title("\x00\xE4"s), "ä");
    EXPECT_EQ(title("\x01\xFF\xFE\xE4\x00"s), "ä");
    EXPECT_EQ(title("\x01\xFE\xFF\x00\xE4"s), "ä");
    EXPECT_EQ(title("\x01\xE4\x00"s), "ä") << "no mark: as Windows has it";
    EXPECT_EQ(title("\x02\x00\xE4"s), "ä");
    EXPECT_EQ(title("\x01\xFF\xFE\x3D\xD8\x00\xDE"s), "\xF0\x9F\x98\x80") << "a pair of surrogates";
    EXPECT_EQ(title("\x01\xFF\xFE\x3D\xD8\x41\x00"s), "\xEF\xBF\xBD"
                                                      "A");
    EXPECT_EQ(title(Utf8("ä")), "ä");
    EXPECT_EQ(title("\x00\xCF\xF0\xE8\xE2\xE5\xF2"s, "CP1251"), "Привет");
    EXPECT_EQ(title("\x00\xCF\xF0\xE8\xE2\xE5\xF2"s, "windows-1251"), "Привет");
    EXPECT_EQ(title("\x00\x83\x65\x83\x58\x83\x67"s, "Shift_JIS"), "テスト");
    EXPECT_EQ(title("\x00\xE4"s, "no such page"), "ä");
    EXPECT_EQ(title("\x00\x83"s, "Shift_JIS"), "\xEF\xBF\xBD") << "a cut character";
}

TEST(SoundId3, SeveralValues) {
    const SoundFound four = Tagged(4, SoundFrame(4, "TPE1", Utf8("A\0B\0\0C\0"s)));
    EXPECT_EQ(four.Texts(FactName::artist), (std::vector<std::string>{"A", "B", "C"}));
    const SoundFound three = Tagged(3, SoundFrame(3, "TPE1", Latin("AC/DC")));
    EXPECT_EQ(three.Texts(FactName::artist), std::vector<std::string>{"AC/DC"});
    const SoundFound wide = Tagged(4, SoundFrame(4, "TPE1", "\x01\xFF\xFE\x41\x00\x00\x00\xFE\xFF\x00\x42"s));
    EXPECT_EQ(wide.Texts(FactName::artist), (std::vector<std::string>{"A", "B"})) << "each with its own mark";
}

TEST(SoundId3, Genres) {
    const auto genres = [](const std::string &text) {
        return Tagged(4, SoundFrame(4, "TCON", Utf8(text))).Texts(FactName::genre);
    };
    using Names = std::vector<std::string>;
    EXPECT_EQ(genres("17"), Names{"Rock"});
    EXPECT_EQ(genres("(17)"), Names{"Rock"});
    EXPECT_EQ(genres("(17)Rock"), Names{"Rock"});
    EXPECT_EQ(genres("(17)(18)Eurodisco"), (Names{"Rock", "Techno", "Eurodisco"}));
    EXPECT_EQ(genres("17\0RX\0CR\0Own"s), (Names{"Rock", "Remix", "Cover", "Own"}));
    EXPECT_EQ(genres("(RX)(CR)"), (Names{"Remix", "Cover"}));
    EXPECT_EQ(genres("((Live)"), Names{"(Live)"});
    EXPECT_EQ(genres("(4)((I think)"), (Names{"Disco", "(I think)"}));
    EXPECT_EQ(genres("(unknown)"), Names{"(unknown)"});
    EXPECT_EQ(genres("(255)"), Names{});
    EXPECT_EQ(genres("(999)x"), Names{"x"});
    EXPECT_EQ(genres("1999"), Names{"1999"});
    EXPECT_EQ(genres("133"), Names{"Afro-Punk"});
    EXPECT_EQ(genres("("), Names{"("});
}

TEST(SoundId3, CommentsOfProgramsAreNone) {
    const SoundFound found =
        Tagged(3, SoundFrame(3, "COMM", Latin("eng") + "iTunNORM" + Nul() + "0000") +
                      SoundFrame(3, "COMM", Latin("eng") + "other" + Nul() + "described"));
    EXPECT_EQ(found.Texts(FactName::comment), std::vector<std::string>{"described"});
    const SoundFound plain = Tagged(3, SoundFrame(3, "COMM", Latin("eng") + "other" + Nul() + "described") +
                                           SoundFrame(3, "COMM", Latin("eng") + Nul() + "plain"));
    EXPECT_EQ(plain.Texts(FactName::comment), std::vector<std::string>{"plain"});
}

TEST(SoundId3, GainOfRva2AndChapters) {
    const std::string chapter = "c1" + Nul() + std::string(16, '\0') + SoundFrame(4, "TIT2", Latin("One"));
    const SoundFound found =
        Tagged(4, SoundFrame(4, "RVA2", "track" + Nul() + "\x01" + BigNumber(0xF080, 2) + "\x10\x80\x00"s) +
                      SoundFrame(4, "CHAP", chapter));
    EXPECT_NEAR(found.Number(FactName::replaygain_track_gain), -7.75, 0.001);
    EXPECT_EQ(found.Texts(FactName::chapter), std::vector<std::string>{"One"});
}

TEST(SoundId3, OtherTagsFillWhatIsMissing) {
    std::string v1 = "TAG" + std::string("Old title").append(21, '\0') +
                     std::string("Old artist").append(20, '\0') + std::string(30, '\0') + "1980" +
                     std::string("Old comment").append(17, '\0') + Nul() + "\x07\x11";
    ASSERT_EQ(v1.size(), 128u);
    const std::string value = "APE artist";
    const std::string item = LittleNumber(value.size(), 4) + LittleNumber(0, 4) + "Artist" + Nul() + value;
    const std::string ape = item + "APETAGEX" + LittleNumber(2000, 4) + LittleNumber(item.size() + 32, 4) +
                            LittleNumber(1, 4) + std::string(12, '\0');
    const SoundFound found =
        SoundFind(SoundTag(3, SoundFrame(3, "TIT2", Latin("New title"))) + SoundMpeg() + ape + v1,
                  ContentFormat::mpeg_audio);
    EXPECT_EQ(found.Text(FactName::title), "New title");
    EXPECT_EQ(found.Texts(FactName::artist), std::vector<std::string>{"APE artist"});
    EXPECT_EQ(found.Text(FactName::genre), "Rock");
    EXPECT_EQ(found.Number(FactName::year), 1980);
    EXPECT_EQ(found.Number(FactName::track), 7);
    EXPECT_EQ(found.Text(FactName::comment), "Old comment");
    EXPECT_NEAR(found.Number(FactName::duration), 38 * 417 * 8 / 128000.0, 0.001);
}

TEST(SoundId3, TagsInARowAreNoSound) {
    const std::string tag = SoundTag(3, SoundFrame(3, "TIT2", Latin("First")) + std::string(100, '\0'));
    const SoundFound found =
        SoundFind(tag + SoundTag(3, std::string(3000, '\0')) + SoundMpeg(), ContentFormat::mpeg_audio);
    EXPECT_EQ(found.Text(FactName::title), "First");
    EXPECT_NEAR(found.Number(FactName::duration), 38 * 417 * 8 / 128000.0, 0.001);
}

TEST(SoundId3, DamagedTags) {
    const std::string frame = SoundFrame(3, "TIT2", Latin("Title"));
    EXPECT_EQ(
        Tagged(3, frame + "TPE1" + BigNumber(0xFFFFFFF0, 4) + "\0\0"s + Latin("rest")).Text(FactName::artist),
        "rest");
    EXPECT_EQ(Tagged(3, frame + "TPE").Text(FactName::title), "Title");
    EXPECT_EQ(
        Tagged(3, frame + "\xE4\xE4\xE4\xE4" + BigNumber(1, 4) + "\0\0x"s + SoundFrame(3, "TPE1", Latin("A")))
            .Text(FactName::artist),
        "A");
    EXPECT_EQ(Tagged(5, frame).Text(FactName::title), "(none)");
    EXPECT_EQ(Tagged(3, BigNumber(0xFFFFFF, 4) + frame, 0x40).Text(FactName::title), "(none)");
    EXPECT_EQ(Tagged(3, SoundFrame(3, "APIC", Latin("image/png"))).picture, "");
    EXPECT_EQ(Tagged(3, SoundFrame(3, "COMM", "")).Text(FactName::comment), "(none)");
}

} // namespace
