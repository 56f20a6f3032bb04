// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/id3_merge.h"

#include "audio/id3_genres.h"
#include "log_catcher.h"
#include "mp3_bytes.h"
#include "platform/limits.h"

#include <string.h>

#include <cmath>
#include <limits>

using namespace mp3_bytes;

namespace {

// The three sources, empty to begin with, and the record that they make.
struct Sources {
    MpegHeaderInfo mpeg;
    Id3v1Block id3v1;
    Id3v2Tag id3v2 = {};

    Sources &V1(size_t offset, const std::string &text) {
        memcpy(id3v1.bytes + offset, text.data(), text.size());
        return *this;
    }

    [[nodiscard]] MediaInfo Merge() const {
        MediaInfo record = {};
        Mp3InfoMerge(&record, &mpeg, &id3v1, &id3v2);
        return record;
    }
};

std::string GenreOf(const std::string &text) {
    Sources sources;
    strcpy(sources.id3v2.genre, text.c_str());
    return sources.Merge().genre;
}

int YearOf(const std::string &text) {
    Sources sources;
    strcpy(sources.id3v2.year, text.c_str());
    return sources.Merge().year;
}

std::string GenreOfIndex(int index) {
    return Sources().V1(kId3v1Genre, std::string(1, static_cast<char>(index))).Merge().genre;
}

TEST(Id3Merge, EmptySourcesGiveAnEmptyRecord) {
    const MediaInfo record = Sources().Merge();
    EXPECT_EQ(record.duration, 0);
    EXPECT_EQ(record.audio_bitrate, 0u);
    EXPECT_EQ(record.channels, 2u); // mode 0 is stereo
    EXPECT_STREQ(record.title, "");
    EXPECT_EQ(record.year + record.track + record.disc + record.has_cover, 0);
}

TEST(Id3Merge, DurationBelowTwelveHours) {
    const auto duration = [](double seconds) {
        Sources sources;
        sources.mpeg.duration = seconds;
        return sources.Merge().duration;
    };
    EXPECT_FLOAT_EQ(duration(0.5), 0.5F);
    EXPECT_GT(duration(std::nextafter(kMp3DurationMax, 0)), 43199.0F);
    EXPECT_EQ(duration(kMp3DurationMax), 0);
    EXPECT_EQ(duration(-1), 0);
    EXPECT_EQ(duration(std::numeric_limits<double>::infinity()), 0);
    EXPECT_EQ(duration(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST(Id3Merge, StreamProperties) {
    Sources sources;
    sources.mpeg.bit_rate = 128000;
    sources.mpeg.sample_rate = 44100;
    EXPECT_EQ(sources.Merge().audio_bitrate, 128000u);
    EXPECT_EQ(sources.Merge().sample_rate, 44100u);
    sources.mpeg.bit_rate = -5;
    EXPECT_EQ(sources.Merge().audio_bitrate, 0u);
    const unsigned channels[] = {0, 2, 2, 2, 1, 0};
    for (int mode = -1; mode <= 4; ++mode) {
        sources.mpeg.channel_mode = mode;
        EXPECT_EQ(sources.Merge().channels, channels[mode + 1]) << mode;
    }
}

TEST(Id3Merge, Id3v2GoesBeforeId3v1) {
    Sources sources;
    sources.V1(kId3v1Title, "t1").V1(kId3v1Artist, "ar1").V1(kId3v1Album, "al1").V1(kId3v1Comment, "c1");
    MediaInfo record = sources.Merge();
    EXPECT_STREQ(record.title, "t1");
    EXPECT_STREQ(record.artist, "ar1");
    EXPECT_STREQ(record.album, "al1");
    EXPECT_STREQ(record.comment, "c1");
    EXPECT_STREQ(record.composer, "");
    strcpy(sources.id3v2.title, "t2");
    strcpy(sources.id3v2.artist, "ar2");
    strcpy(sources.id3v2.album, "al2");
    strcpy(sources.id3v2.comment, "c2");
    strcpy(sources.id3v2.composer, "co2");
    record = sources.Merge();
    EXPECT_STREQ(record.title, "t2");
    EXPECT_STREQ(record.artist, "ar2");
    EXPECT_STREQ(record.album, "al2");
    EXPECT_STREQ(record.comment, "c2");
    EXPECT_STREQ(record.composer, "co2");
}

TEST(Id3Merge, TextIsCutToTheField) {
    Sources sources;
    strcpy(sources.id3v2.title, std::string(254, 't').c_str());
    EXPECT_EQ(sources.Merge().title, std::string(254, 't'));
    strcpy(sources.id3v2.title, std::string(1000, 't').c_str());
    EXPECT_EQ(sources.Merge().title, std::string(254, 't'));
}

TEST(Id3Merge, Utf16TextTakesItsFlagAlong) {
    Sources sources;
    const std::string text = "\xFF\xFE" + std::string(1000, 'a');
    memcpy(sources.id3v2.title, text.data(), text.size());
    sources.id3v2.title_utf16 = 1;
    const MediaInfo record = sources.Merge();
    EXPECT_EQ(record.title_utf16, 1);
    EXPECT_EQ(record.artist_utf16, 0);
    EXPECT_EQ(std::string(record.title, 255), "\xFF\xFE" + std::string(252, 'a') + "\0"s);
}

TEST(Id3Merge, EachFieldHasAFlagOfItsOwn) {
    const struct {
        size_t offset;
        int32_t Id3v2Tag::*flag;
        char (MediaInfo::*text)[kMediaTextSize];
        int32_t MediaInfo::*text_flag;
    } fields[] = {
        {offsetof(Id3v2Tag, title), &Id3v2Tag::title_utf16, &MediaInfo::title, &MediaInfo::title_utf16},
        {offsetof(Id3v2Tag, artist), &Id3v2Tag::artist_utf16, &MediaInfo::artist, &MediaInfo::artist_utf16},
        {offsetof(Id3v2Tag, album), &Id3v2Tag::album_utf16, &MediaInfo::album, &MediaInfo::album_utf16},
        {offsetof(Id3v2Tag, genre), &Id3v2Tag::genre_utf16, &MediaInfo::genre, &MediaInfo::genre_utf16},
        {offsetof(Id3v2Tag, composer), &Id3v2Tag::composer_utf16, &MediaInfo::composer,
         &MediaInfo::composer_utf16},
        {offsetof(Id3v2Tag, comment), &Id3v2Tag::comment_utf16, &MediaInfo::comment,
         &MediaInfo::comment_utf16},
    };
    const std::string text = "\xFF\xFEH\0i\0\0\0"s;
    for (const auto &field : fields) {
        Sources sources;
        memcpy(reinterpret_cast<char *>(&sources.id3v2) + field.offset, text.data(), text.size());
        sources.id3v2.*field.flag = 1;
        const MediaInfo record = sources.Merge();
        for (const auto &other : fields)
            EXPECT_EQ(record.*other.text_flag, other.offset == field.offset ? 1 : 0);
        EXPECT_EQ(std::string(record.*field.text, text.size()), text);
    }
}

TEST(Id3Merge, EmptyUtf16FieldGivesWayToId3v1) {
    Sources sources;
    sources.id3v2.title_utf16 = 1;
    sources.V1(kId3v1Title, "t1");
    EXPECT_STREQ(sources.Merge().title, "t1");
    EXPECT_EQ(sources.Merge().title_utf16, 0);
}

TEST(Id3Merge, Id3v1TextIsThirtyBytesAndTrimmed) {
    Sources sources;
    sources.V1(kId3v1Title, std::string(30, 't')).V1(kId3v1Artist, "  an artist" + std::string(19, ' '));
    EXPECT_EQ(sources.Merge().title, std::string(30, 't'));
    EXPECT_STREQ(sources.Merge().artist, "an artist");
    // The comment is followed by the genre.
    sources.V1(kId3v1Comment, std::string(30, 'c')).V1(kId3v1Genre, "\x11");
    EXPECT_EQ(sources.Merge().comment, std::string(30, 'c'));
}

TEST(Id3Merge, Years) {
    EXPECT_EQ(YearOf("1999"), 1999);
    EXPECT_EQ(YearOf("99"), 0);
    EXPECT_EQ(YearOf("1199"), 0);
    EXPECT_EQ(YearOf("1200"), 1200);
    EXPECT_EQ(YearOf("2200"), 2200);
    EXPECT_EQ(YearOf("2201"), 0);
    EXPECT_EQ(YearOf("2005-03"), 0); // what the field holds of 2005-03-01
    EXPECT_EQ(YearOf(" 1999"), 1999);
    EXPECT_EQ(YearOf("1999 "), 0);
    EXPECT_EQ(YearOf("-1999"), 0);
    EXPECT_EQ(YearOf("9999999"), 0);
    EXPECT_EQ(YearOf(""), 0);
}

TEST(Id3Merge, YearOfId3v1) {
    Sources sources;
    sources.V1(kId3v1Year, "1987").V1(kId3v1Comment, "5"); // the year is not terminated
    EXPECT_EQ(sources.Merge().year, 1987);
    strcpy(sources.id3v2.year, "x");
    EXPECT_EQ(sources.Merge().year, 0); // a bad year of ID3v2 still goes first
    EXPECT_EQ(Sources().V1(kId3v1Year, "19 7").Merge().year, 0);
}

TEST(Id3Merge, GenresInParentheses) {
    EXPECT_EQ(GenreOf("(17)"), "Rock");
    EXPECT_EQ(GenreOf("(17)Rock"), "Rock");
    EXPECT_EQ(GenreOf("Pop(17)"), "Rock");
    EXPECT_EQ(GenreOf("(0)"), "Blues");
    EXPECT_EQ(GenreOf("(147)"), "SynthPop");
    EXPECT_EQ(GenreOf("(148)"), "148");
    EXPECT_EQ(GenreOf("(200)"), "200");
    EXPECT_EQ(GenreOf("(-1)"), "-1");
    EXPECT_EQ(GenreOf("()"), "Blues"); // nothing is left unread, and the number is 0
    EXPECT_EQ(GenreOf("(99999999999999999999)"), "2147483647");
    EXPECT_EQ(GenreOf("(-99999999999999999999)"), "-2147483648");
    EXPECT_EQ(GenreOf("(RX)"), "");
    EXPECT_EQ(GenreOf("Rock (live)"), "");
    EXPECT_EQ(GenreOf("(4)(17)"), "");
    EXPECT_EQ(GenreOf("(17 )"), "");
}

TEST(Id3Merge, GenresAsText) {
    EXPECT_EQ(GenreOf("Trance"), "Trance");
    EXPECT_EQ(GenreOf("17"), "17");
    EXPECT_EQ(GenreOf(")17("), ")17(");
    EXPECT_EQ(GenreOf("(17"), "(17");
    EXPECT_EQ(GenreOf("17)"), "17)");
}

TEST(Id3Merge, GenreInUtf16) {
    Sources sources;
    const std::string text = "\xFF\xFE(\0001\0007\0)\0"s;
    memcpy(sources.id3v2.genre, text.data(), text.size());
    sources.id3v2.genre_utf16 = 1;
    MediaInfo record = sources.Merge();
    EXPECT_EQ(record.genre_utf16, 1);
    EXPECT_EQ(std::string(record.genre, text.size() + 2), text + "\0\0"s);

    // The longest that the tag's field holds: the copy ends with it.
    const std::string longest = "\xFE\xFF" + std::string(124, 'g');
    memcpy(sources.id3v2.genre, longest.data(), longest.size());
    strcpy(sources.id3v2.track, "7");
    record = sources.Merge();
    EXPECT_EQ(std::string(record.genre, 255), longest + std::string(129, '\0'));
}

TEST(Id3Merge, GenresOfId3v1) {
    EXPECT_EQ(GenreOfIndex(0), "");
    EXPECT_EQ(GenreOfIndex(1), "Classic Rock");
    EXPECT_EQ(GenreOfIndex(147), "SynthPop");
    EXPECT_EQ(GenreOfIndex(148), "");
    EXPECT_EQ(GenreOfIndex(255), "");
}

TEST(Id3Merge, GenreNamesKeepTheirSpelling) {
    EXPECT_STREQ(Id3GenreNames[67], "Psychadelic");
    EXPECT_STREQ(Id3GenreNames[85], "Bebob");
    EXPECT_STREQ(Id3GenreNames[123], "A capella");
    EXPECT_STREQ(Id3GenreNames[133], "NegerPunk");
    EXPECT_STREQ(Id3GenreNames[134], "Polsk Punk");
    EXPECT_STREQ(Id3GenreNames[140], "Contemporary C");
    EXPECT_STREQ(Id3GenreNames[kId3GenreCount - 1], "SynthPop");
}

TEST(Id3Merge, Tracks) {
    Sources sources;
    sources.V1(kId3v1Comment, std::string(28, 'c')).V1(kId3v11Track, "\xC8");
    EXPECT_EQ(sources.Merge().track, 200);
    EXPECT_EQ(sources.Merge().comment, std::string(28, 'c'));
    strcpy(sources.id3v2.track, "3");
    EXPECT_EQ(sources.Merge().track, 3);
    strcpy(sources.id3v2.track, "12ab");
    EXPECT_EQ(sources.Merge().track, 12);
    strcpy(sources.id3v2.track, "\xFF\xFE"
                                "3");
    EXPECT_EQ(sources.Merge().track, 0);
    strcpy(sources.id3v2.track, "-4");
    EXPECT_EQ(sources.Merge().track, -4);
}

TEST(Id3Merge, TracksThatId3v1DoesNotHave) {
    EXPECT_EQ(Sources().V1(kId3v11Track, " ").Merge().track, 0);
    EXPECT_EQ(Sources().V1(kId3v11Mark, "x\5").Merge().track, 0);
    EXPECT_EQ(Sources().V1(kId3v11Track, "\5").Merge().track, 5);
}

TEST(Id3Merge, Discs) {
    Sources sources;
    strcpy(sources.id3v2.disc, "2");
    EXPECT_EQ(sources.Merge().disc, 2);
    strcpy(sources.id3v2.disc, "2x");
    EXPECT_EQ(sources.Merge().disc, 0);
}

TEST(Id3Merge, CoverCount) {
    Sources sources;
    sources.id3v2.cover_count = 1;
    EXPECT_EQ(sources.Merge().has_cover, 1);
}

TEST(Id3Merge, MissingArgumentsChangeNothing) {
    LogCatcher log;
    Sources sources;
    strcpy(sources.id3v2.title, "t");
    MediaInfo record = {};
    Mp3InfoMerge(nullptr, &sources.mpeg, &sources.id3v1, &sources.id3v2);
    EXPECT_NE(log.Next().find(") Bad parameter."), std::string::npos);
    Mp3InfoMerge(&record, nullptr, &sources.id3v1, &sources.id3v2);
    EXPECT_NE(log.Next().find(") Bad parameter."), std::string::npos);
    Mp3InfoMerge(&record, &sources.mpeg, nullptr, &sources.id3v2);
    EXPECT_NE(log.Next().find(") Bad parameter."), std::string::npos);
    Mp3InfoMerge(&record, &sources.mpeg, &sources.id3v1, nullptr);
    EXPECT_NE(log.Next().find(") Bad parameter."), std::string::npos);
    EXPECT_STREQ(record.title, "");
}

} // namespace
