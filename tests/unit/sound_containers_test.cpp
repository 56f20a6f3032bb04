// SPDX-License-Identifier: GPL-2.0-or-later
//
// What encoders at hand do not write.
#include "tests/unit/sound_bytes.h"

namespace {

using namespace std::string_literals;

std::string Chunk(const std::string &name, const std::string &content) {
    return name + LittleNumber(content.size(), 4) + content + (content.size() % 2 != 0 ? Nul() : "");
}

std::string Wav(const std::string &more) {
    const std::string format = LittleNumber(1, 2) + LittleNumber(2, 2) + LittleNumber(44100, 4) +
                               LittleNumber(176400, 4) + LittleNumber(4, 2) + LittleNumber(16, 2);
    const std::string body = "WAVE" + Chunk("fmt ", format) + Chunk("data", std::string(88200, '\0')) + more;
    return "RIFF" + LittleNumber(body.size(), 4) + body;
}

TEST(SoundContainers, EveryTextOfRiff) {
    const std::string info = "INFO" + Chunk("INAM", "Title" + Nul()) + Chunk("IART", "Artist") +
                             Chunk("IPRD", "Album") + Chunk("IMUS", "Composer") + Chunk("IWRI", "Lyricist") +
                             Chunk("IGNR", "Rock") + Chunk("ICRD", "2004-05-06") + Chunk("ITRK", "3/12") +
                             Chunk("ICMT", "C\xE4") + Chunk("ILNG", "deu");
    const SoundFound found = SoundFind(Wav(Chunk("LIST", info)), ContentFormat::wav);
    EXPECT_EQ(found.Text(FactName::title), "Title");
    EXPECT_EQ(found.Text(FactName::artist), "Artist");
    EXPECT_EQ(found.Text(FactName::album), "Album");
    EXPECT_EQ(found.Text(FactName::composer), "Composer");
    EXPECT_EQ(found.Text(FactName::lyricist), "Lyricist");
    EXPECT_EQ(found.Text(FactName::genre), "Rock");
    EXPECT_EQ(found.Number(FactName::year), 2004);
    EXPECT_EQ(found.Number(FactName::track), 3);
    EXPECT_EQ(found.Text(FactName::comment), "Cä");
    EXPECT_EQ(found.Text(FactName::language), "deu");
    EXPECT_EQ(found.Number(FactName::duration), 0.5);
}

TEST(SoundContainers, Id3GoesBeforeInfo) {
    const std::string info = Chunk("LIST", "INFO" + Chunk("INAM", "Info") + Chunk("IART", "Artist"));
    const std::string tag = Chunk("id3 ", SoundTag(3, SoundFrame(3, "TIT2", Nul() + "Id3")));
    const SoundFound found = SoundFind(Wav(info + tag), ContentFormat::wav);
    EXPECT_EQ(found.Text(FactName::title), "Id3");
    EXPECT_EQ(found.Text(FactName::artist), "Artist");
}

TEST(SoundContainers, AnExtensibleFormat) {
    const std::string format = LittleNumber(0xFFFE, 2) + LittleNumber(1, 2) + LittleNumber(48000, 4) +
                               LittleNumber(144000, 4) + LittleNumber(3, 2) + LittleNumber(24, 2) +
                               LittleNumber(22, 2) + LittleNumber(24, 2) + LittleNumber(4, 4) +
                               LittleNumber(1, 2) + std::string(14, '\0');
    const SoundFound found =
        SoundFind("RIFF" + LittleNumber(0, 4) + "WAVE" + Chunk("fmt ", format), ContentFormat::wav);
    EXPECT_EQ(found.Text(FactName::codec), "pcm_s24le");
    EXPECT_EQ(found.Number(FactName::bits_per_sample), 24);
}

TEST(SoundContainers, TextsOfAiffAndTheChunkBehindAnOddOne) {
    const auto chunk = [](const std::string &name, const std::string &content) {
        return name + BigNumber(content.size(), 4) + content + (content.size() % 2 != 0 ? Nul() : "");
    };
    const std::string common =
        BigNumber(1, 2) + BigNumber(22050, 4) + BigNumber(16, 2) + "\x40\x0E\xAC\x44"s + std::string(6, '\0');
    const std::string body = "AIFF" + chunk("COMM", common) + chunk("NAME", "Odd") + chunk("AUTH", "Author") +
                             chunk("ID3 ", SoundTag(3, SoundFrame(3, "TALB", Nul() + "Album")));
    const SoundFound found = SoundFind("FORM" + BigNumber(body.size(), 4) + body, ContentFormat::aiff);
    EXPECT_EQ(found.Text(FactName::title), "Odd");
    EXPECT_EQ(found.Text(FactName::artist), "Author");
    EXPECT_EQ(found.Text(FactName::album), "Album");
    EXPECT_EQ(found.Number(FactName::duration), 0.5);
    EXPECT_EQ(found.Number(FactName::sample_rate), 44100);
}

TEST(SoundContainers, CompressedDsdAndItsEditedTexts) {
    const auto chunk = [](const std::string &name, const std::string &content) {
        return name + BigNumber(content.size(), 8) + content + (content.size() % 2 != 0 ? Nul() : "");
    };
    const std::string properties = "SND " + chunk("FS  ", BigNumber(2822400, 4)) +
                                   chunk("CHNL", BigNumber(2, 2) + "SLFTSRGT") +
                                   chunk("CMPR", "DST \x0B"
                                                 "DST Encoded");
    const std::string body =
        "DSD " + chunk("PROP", properties) +
        chunk("DST ", chunk("FRTE", BigNumber(150, 4) + BigNumber(75, 2)) + std::string(1000, 'x')) +
        chunk("DIIN", chunk("DITI", BigNumber(5, 4) + "Title") + chunk("DIAR", BigNumber(6, 4) + "Artist"));
    const SoundFound found = SoundFind("FRM8" + BigNumber(body.size(), 8) + body, ContentFormat::dsdiff);
    EXPECT_EQ(found.Text(FactName::codec), "dst");
    EXPECT_EQ(found.Number(FactName::duration), 2);
    EXPECT_EQ(found.Text(FactName::title), "Title");
    EXPECT_EQ(found.Text(FactName::artist), "Artist");
}

std::string Box(const std::string &type, const std::string &content) {
    return BigNumber(content.size() + 8, 4) + type + content;
}

std::string SoundTrack(const std::string &entry) {
    const std::string header =
        Box("mdhd", BigNumber(0, 12) + BigNumber(48000, 4) + BigNumber(96000, 4) + BigNumber(0, 4));
    const std::string handler = Box("hdlr", BigNumber(0, 8) + "soun");
    return Box(
        "trak",
        Box("mdia", header + handler +
                        Box("minf", Box("stbl", Box("stsd", BigNumber(0, 4) + BigNumber(1, 4) + entry)))));
}

std::string SampleEntry(const std::string &type, const std::string &more) {
    return Box(type, BigNumber(0, 6) + BigNumber(1, 2) + BigNumber(0, 8) + BigNumber(2, 2) +
                         BigNumber(16, 2) + BigNumber(0, 4) + BigNumber(uint64_t{24000} << 16, 4) + more);
}

std::string Descriptor(const std::string &config) {
    const auto part = [](int tag, const std::string &content) {
        return BigNumber(static_cast<uint64_t>(tag), 1) + BigNumber(content.size(), 1) + content;
    };
    const std::string decoder =
        BigNumber(0x40, 1) + BigNumber(0x15, 1) + BigNumber(0, 3) + BigNumber(64000, 4) + BigNumber(48000, 4);
    return Box("esds", BigNumber(0, 4) +
                           part(3, BigNumber(1, 2) + BigNumber(0, 1) + part(4, decoder + part(5, config))));
}

TEST(SoundContainers, HighEfficiencyAacIsAsItIsHeard) {
    const auto found = [](const std::string &config) {
        return SoundFind(Box("moov", SoundTrack(SampleEntry("mp4a", Descriptor(config)))),
                         ContentFormat::mp4_sound);
    };
    const SoundFound plain = found("\x13\x10"s); // LC, 24 kHz, stereo
    EXPECT_EQ(plain.Number(FactName::sample_rate), 24000);
    EXPECT_EQ(plain.Number(FactName::audio_bitrate), 48000);
    const SoundFound open = found("\x2B\x11\x88\x00"s); // SBR: 24 and 48 kHz
    EXPECT_EQ(open.Number(FactName::sample_rate), 48000);
    const SoundFound stereo = found("\xEB\x09\x88\x00"s); // with parametric stereo, mono below
    EXPECT_EQ(stereo.Number(FactName::sample_rate), 48000);
    EXPECT_EQ(stereo.Number(FactName::channels), 2);
    const SoundFound hidden = found("\x13\x10\x56\xE5\x98"s); // LC, and behind it SBR
    EXPECT_EQ(hidden.Number(FactName::sample_rate), 48000);
}

TEST(SoundContainers, CodecsOfQuickTimeByTheNumbersOfWindows) {
    const SoundFound found =
        SoundFind(Box("moov", SoundTrack(SampleEntry("ms\0U"s, ""))), ContentFormat::mp4_sound);
    EXPECT_EQ(found.Text(FactName::codec), "mp3");
}

TEST(SoundContainers, TextsOfQuickTimeAndChaptersOfNero) {
    const std::string name = "\xA9nam";
    const std::string texts =
        Box(name, BigNumber(5, 2) + BigNumber(0, 2) + "Title") +
        Box("chpl", BigNumber(1, 1) + BigNumber(0, 7) + BigNumber(2, 1) + BigNumber(0, 8) + BigNumber(3, 1) +
                        "One" + BigNumber(50, 8) + BigNumber(3, 1) + "Two") +
        Box("albm", BigNumber(0, 4) + BigNumber(0x15C7, 2) + "\xFE\xFF\x00\xC4\x00\x00\x05"s);
    const SoundFound found = SoundFind(Box("moov", Box("udta", texts)), ContentFormat::mp4_sound);
    EXPECT_EQ(found.Text(FactName::title), "Title");
    EXPECT_EQ(found.Text(FactName::album), "Ä");
    EXPECT_EQ(found.Texts(FactName::chapter), (std::vector<std::string>{"One", "Two"}));
}

TEST(SoundContainers, TextsOfQuickTimeAreForWhatItunesItemsDoNotSay) {
    const auto data = [](const std::string &text) {
        return Box("data", BigNumber(1, 4) + BigNumber(0, 4) + text);
    };
    const auto text = [](const std::string &type, const std::string &content) {
        return Box(type, BigNumber(content.size(), 2) + BigNumber(0, 2) + content);
    };
    const std::string items = Box("ilst", Box("\xA9nam", data("One") + data("Two")));
    const std::string texts = Box("meta", BigNumber(0, 4) + items) + text("\xA9nam", "Three") +
                              text("\xA9"
                                   "alb",
                                   "Album") +
                              text("\xA9"
                                   "alb",
                                   "in another language");
    const SoundFound found = SoundFind(Box("moov", Box("udta", texts)), ContentFormat::mp4_sound);
    EXPECT_EQ(found.Texts(FactName::title), (std::vector<std::string>{"One", "Two"}));
    EXPECT_EQ(found.Texts(FactName::album), std::vector<std::string>{"Album"});
}

TEST(SoundContainers, NumberedGenresOfMp4) {
    const std::string item = Box("gnre", Box("data", BigNumber(0, 4) + BigNumber(0, 4) + BigNumber(18, 2)));
    const std::string meta = Box("meta", BigNumber(0, 4) + Box("ilst", item));
    EXPECT_EQ(SoundFind(Box("moov", Box("udta", meta)), ContentFormat::mp4_sound).Text(FactName::genre),
              "Rock");
}

TEST(SoundContainers, MonkeysAudio) {
    // Version 3.99: descriptor, header. No encoder of it is free.
    const std::string descriptor = "MAC " + LittleNumber(3990, 2) + LittleNumber(0, 2) + LittleNumber(52, 4) +
                                   LittleNumber(24, 4) + LittleNumber(0, 4) + LittleNumber(44, 4) +
                                   LittleNumber(1000, 4) + std::string(24, '\0');
    const std::string header = LittleNumber(2000, 2) + LittleNumber(0, 2) + LittleNumber(73728, 4) +
                               LittleNumber(44100, 4) + LittleNumber(1, 4) + LittleNumber(16, 2) +
                               LittleNumber(2, 2) + LittleNumber(44100, 4);
    const std::string value = "Title";
    const std::string item = LittleNumber(value.size(), 4) + LittleNumber(0, 4) + "Title" + Nul() + value;
    const std::string tag = item + "APETAGEX" + LittleNumber(2000, 4) + LittleNumber(item.size() + 32, 4) +
                            LittleNumber(1, 4) + std::string(12, '\0');
    const SoundFound found =
        SoundFind(descriptor + header + std::string(1000, 'x') + tag, ContentFormat::ape);
    EXPECT_EQ(found.Text(FactName::codec), "ape");
    EXPECT_EQ(found.Number(FactName::duration), 1);
    EXPECT_EQ(found.Number(FactName::sample_rate), 44100);
    EXPECT_EQ(found.Number(FactName::channels), 2);
    EXPECT_EQ(found.Number(FactName::bits_per_sample), 16);
    EXPECT_EQ(found.Text(FactName::title), "Title");
}

TEST(SoundContainers, Musepack) {
    // Stream version 7: a hundred frames of 1152 samples at 44.1 kHz.
    const std::string seven = "MP+\x07" + LittleNumber(100, 4) + LittleNumber(0, 4) + std::string(44, '\0') +
                              std::string(5000, 'x');
    const SoundFound found = SoundFind(seven, ContentFormat::musepack);
    EXPECT_EQ(found.Text(FactName::codec), "musepack7");
    EXPECT_EQ(found.Text(FactName::container), "mpc");
    EXPECT_NEAR(found.Number(FactName::duration), 100 * 1152 / 44100.0, 0.05);
    // Version 8: the packet "SH" with version, samples, silence, rate and channels.
    const std::string stream =
        BigNumber(0, 4) + BigNumber(8, 1) + "\x82\xD8\x44"s + BigNumber(0, 1) + "\x00\x10"s;
    const std::string eight =
        "MPCKSH" + BigNumber(stream.size() + 3, 1) + stream + "AP" + BigNumber(100, 1) + std::string(97, 'x');
    const SoundFound newer = SoundFind(eight, ContentFormat::musepack);
    EXPECT_EQ(newer.Text(FactName::codec), "musepack8");
    EXPECT_EQ(newer.Text(FactName::container), "mpc8");
    EXPECT_NEAR(newer.Number(FactName::duration), 44100 / 44100.0, 0.05);
}

TEST(SoundContainers, NothingIsNoSound) {
    for (int format = static_cast<int>(ContentFormat::mpeg_audio);
         format <= static_cast<int>(ContentFormat::dsdiff); ++format) {
        const SoundFound found = SoundFind("", static_cast<ContentFormat>(format));
        EXPECT_EQ(found.outcome.status, AnswerStatus::failed) << format;
        EXPECT_FALSE(found.outcome.reason.empty());
        EXPECT_EQ(SoundFind(std::string(3000, '\xFF'), static_cast<ContentFormat>(format)).outcome.status,
                  AnswerStatus::failed)
            << format;
    }
    EXPECT_EQ(SoundFind("", ContentFormat::film).outcome.reason, "no format of sound");
}

} // namespace
