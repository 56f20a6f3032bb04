// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of films: its bounds, and what no encoder makes.
#include "reader/film/film.h"

#include "child_process.h"
#include "platform/limits.h"
#include "tests/unit/content_look.h"
#include "tests/unit/mp4_boxes.h"
#include "tests/unit/scratch_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <iconv.h>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/handle.h"

#include <string>

namespace {

struct Reading {
    ReadOutcome outcome;
    FactList facts;
};

Reading Read(const std::string &content, ContentFormat format = ContentFormat::film,
             const char *extension = "") {
    FilmReaderWarm();
    const ScratchFile file(content);
    const FdHandle fd(open(file.c_str(), O_RDONLY | O_CLOEXEC));
    ReaderInput input;
    input.fd = fd.get();
    input.size = static_cast<int64_t>(content.size());
    input.extension = extension;
    PictureSink picture;
    Reading reading;
    reading.outcome = FilmFactsRead(&input, format, &reading.facts, &picture);
    return reading;
}

// An element of EBML: its identification and its content.
std::string Element(const std::string &id, const std::string &content) {
    std::string size("\x08\0\0\0\0\0\0\0", 8);
    size[0] = 0x01;
    for (size_t i = 0; i < 7; ++i)
        size[7 - i] = static_cast<char>(content.size() >> 8 * i);
    return id + size + content;
}

std::string Byte(int value) {
    return std::string(1, static_cast<char>(value));
}

// A Matroska file of so many tracks of plain sound, of which the first lasts two seconds.
std::string MatroskaOf(int tracks) {
    const std::string sound = Element("\xB5", std::string("\x46\xBB\x80\x00", 4)) + Element("\x9F", Byte(1)) +
                              Element("\x62\x64", Byte(16));
    std::string entries;
    for (int i = 1; i <= tracks; ++i) {
        const std::string number = Byte(i >> 8) + Byte(i);
        entries +=
            Element("\xAE", Element("\xD7", number) + Element("\x73\xC5", number) + Element("\x83", Byte(2)) +
                                Element("\x86", "A_PCM/INT/LIT") + Element("\xE1", sound));
    }
    const std::string info = Element("\x2A\xD7\xB1", std::string("\x0F\x42\x40", 3)) +
                             Element("\x44\x89", std::string("\x44\xFA\x00\x00", 4));
    const std::string segment = Element("\x15\x49\xA9\x66", info) + Element("\x16\x54\xAE\x6B", entries) +
                                Element("\x1F\x43\xB6\x75", Element("\xE7", Byte(0)));
    return Element("\x1A\x45\xDF\xA3", Element("\x42\x82", "matroska")) +
           Element("\x18\x53\x80\x67", segment);
}

double Number(const FactList &facts, FactName name) {
    const Fact *fact = FactFind(facts, name);
    return fact != nullptr ? fact->number : -1;
}

TEST(FilmReader, StreamsUpToItsBoundAreRead) {
    const Reading most = Read(MatroskaOf(kFilmStreamsMax));
    EXPECT_EQ(most.outcome.status, AnswerStatus::read) << most.outcome.reason;
    EXPECT_EQ(most.outcome.content, ContentClass::sound);
    EXPECT_EQ(Number(most.facts, FactName::duration), 2);
    EXPECT_EQ(Number(most.facts, FactName::audio_bitrate), 24000 * 16);
    const Reading more = Read(MatroskaOf(kFilmStreamsMax + 1));
    EXPECT_EQ(more.outcome.status, AnswerStatus::failed);
}

TEST(FilmReader, SaysWhyAFileIsNoFilm) {
    for (const std::string &content : {std::string(), std::string("no film"), std::string(100'000, '\0')}) {
        const Reading reading = Read(content, ContentFormat::film, "mkv");
        EXPECT_EQ(reading.outcome.status, AnswerStatus::failed);
        EXPECT_EQ(reading.outcome.content, ContentClass::unknown);
        EXPECT_FALSE(reading.outcome.reason.empty());
        EXPECT_TRUE(reading.facts.facts.empty());
    }
}

TEST(FilmReader, SubtitlesAloneAreNeitherSoundNorFilm) {
    const Reading reading = Read("1\n00:00:01,000 --> 00:00:02,000\nWords\n", ContentFormat::film, "srt");
    EXPECT_EQ(reading.outcome.status, AnswerStatus::failed);
}

TEST(FilmReader, AFileThatCannotBeReadSaysSo) {
    ReaderInput input;
    const FdHandle fd(open("/", O_RDONLY | O_CLOEXEC)); // read() of a folder fails
    input.fd = fd.get();
    input.size = 1000;
    FactList facts;
    PictureSink picture;
    const ReadOutcome outcome = FilmFactsRead(&input, ContentFormat::film, &facts, &picture);
    EXPECT_EQ(outcome.status, AnswerStatus::failed);
    EXPECT_EQ(outcome.reason, "Input/output error");
}

TEST(FilmReader, CharacterSetsOfBroadcastsNeedNoFileOnceItIsWarm) {
    const int status = ChildRunStatus([] {
        FilmReaderWarm();
        const rlimit none = {};
        if (setrlimit(RLIMIT_NOFILE, &none) != 0)
            return 1;
        for (const char *page : {"ISO6937", "ISO-8859-5", "ISO-8859-15", "UCS-2BE", "GB2312"}) {
            if (iconv_open("UTF-8", page) == reinterpret_cast<iconv_t>(-1))
                return 2;
        }
        return 0;
    });
    EXPECT_EQ(0, status);
}

// A film in fragments, or not, of one track with that header.
std::string FragmentsOf(const std::string &header, bool fragments = true) {
    return BoxBytes("ftyp", "isom" + Zeros(4)) + BoxBytes("free", "") +
           BoxBytes("moov", BoxBytes("mvhd", Zeros(100)) + BoxBytes("trak", header) +
                                (fragments ? BoxBytes("mvex", "") : std::string())) +
           BoxBytes("moof", "");
}

std::string TrackHeader(uint8_t version, uint32_t number) {
    return U8(version) + Zeros(3) + Zeros(version == 1 ? 16 : 8) + U32(number) + Zeros(68);
}

TEST(FilmReader, NumbersOfTracksAreBounded) {
    const std::string reason = "the number of a track is out of bounds";
    for (const bool fragments : {false, true}) {
        for (const uint8_t version : {0, 1}) {
            const auto film = [&](uint32_t number) {
                return FragmentsOf(BoxBytes("tkhd", TrackHeader(version, number)), fragments);
            };
            EXPECT_EQ(Read(film(0x8000'0000)).outcome.reason, reason);
            EXPECT_EQ(Read(film(0xFFFF'FFFF)).outcome.reason, reason);
            EXPECT_NE(Read(film(0x7FFF'FFFF)).outcome.reason, reason);
        }
    }
    // The box may say that it ends in front of the number.
    EXPECT_EQ(Read(FragmentsOf(BoxBytes("tkhd", "") + TrackHeader(0, 0x8000'0000))).outcome.reason, reason);
}

TEST(FilmReader, TracksInFragmentsHaveNumbers) {
    const std::string reason = "a track has no number";
    EXPECT_EQ(Read(FragmentsOf("")).outcome.reason, reason);
    EXPECT_EQ(Read(FragmentsOf(BoxBytes("tkhe", TrackHeader(0, 1)))).outcome.reason, reason);
    EXPECT_NE(Read(FragmentsOf(BoxBytes("tkhd", TrackHeader(0, 1)))).outcome.reason, reason);
    EXPECT_NE(Read(FragmentsOf("", false)).outcome.reason, reason);
}

TEST(FilmReader, OfMidiTheHeaderAloneIsRead) {
    const std::string header("MThd\0\0\0\6\0\1\0\2\0\x60", 14);
    const std::string wrapped = std::string("RIFF\x16\0\0\0RMIDdata\x0E\0\0\0", 20) + header;
    for (const std::string &content : {header, header + "MTrk", wrapped}) {
        const Reading reading = Read(content, ContentFormat::midi);
        EXPECT_EQ(reading.outcome.status, AnswerStatus::read);
        EXPECT_EQ(reading.outcome.content, ContentClass::sound);
        ASSERT_NE(FactFind(reading.facts, FactName::container), nullptr);
        EXPECT_EQ(FactFind(reading.facts, FactName::container)->text, "midi");
    }
    for (const std::string &content :
         {header.substr(0, 13), std::string("MThd\0\0\0\6\0\3\0\2\0\x60", 14), std::string()})
        EXPECT_EQ(Read(content, ContentFormat::midi).outcome.status, AnswerStatus::failed);
}

} // namespace
