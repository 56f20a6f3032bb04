// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/fact_rows.h"

#include <gtest/gtest.h>

#include <limits>

#include "catalogue/fact_columns.h"

namespace {

constexpr FactSource kSource = FactSource::own;

// "name/position=value" of each.
std::vector<std::string> Texts(const Answer &answer) {
    std::vector<std::string> texts;
    for (const FactRows rows = FactRowsOf(answer); const FileFact &fact : rows.facts)
        texts.push_back(std::string(fact.name) + '/' + std::to_string(fact.position) + '=' +
                        std::string(fact.value));
    return texts;
}

MediaInfo Columns(const Answer &answer) {
    MediaInfo record = {};
    FactColumnsFill(answer, &record);
    return record;
}

} // namespace

TEST(FactRows, EachValueIsOne) {
    Answer answer;
    for (const char *artist : {"A", "B; C"})
        FactAddText(&answer.facts, FactName::artist, kSource, artist);
    FactAddText(&answer.facts, FactName::chapter, kSource, "First");
    FactAddText(&answer.facts, FactName::chapter, kSource, "Second");
    FactAddNumber(&answer.facts, FactName::tracktotal, kSource, 12);
    FactAddNumber(&answer.facts, FactName::replaygain_track_gain, kSource, -7.03);
    EXPECT_EQ(Texts(answer),
              (std::vector<std::string>{"artist/0=A", "artist/1=B; C", "chapter/0=First", "chapter/1=Second",
                                        "tracktotal/0=12", "replaygain_track_gain/0=-7.03"}));
    EXPECT_STREQ(Columns(answer).artist, "A; B; C");
}

// What a column says as well is no fact, but for what is searched for value by value.
TEST(FactRows, OfTheColumnsThoseWithValuesAreFacts) {
    Answer answer;
    std::vector<std::string> expected;
    for (const FactKind &kind : kFacts) {
        if (kind.type == FactType::text)
            FactAddText(&answer.facts, kind.name, kSource, "x");
        else
            FactAddNumber(&answer.facts, kind.name, kSource, 1);
    }
    for (const char *name : {"artist",
                             "albumartist",
                             "genre",
                             "composer",
                             "date",
                             "originaldate",
                             "tracktotal",
                             "disctotal",
                             "compilation",
                             "bpm",
                             "conductor",
                             "lyricist",
                             "publisher",
                             "isrc",
                             "language",
                             "lyrics",
                             "replaygain_track_gain",
                             "replaygain_album_gain",
                             "musicbrainz_trackid",
                             "musicbrainz_albumid",
                             "musicbrainz_artistid",
                             "titlesort",
                             "artistsort",
                             "albumsort",
                             "codec",
                             "video_codec",
                             "container",
                             "bits_per_sample",
                             "hdr",
                             "frame_rate",
                             "rotation",
                             "audio_language",
                             "subtitle_language",
                             "chapter",
                             "orientation",
                             "gps_latitude",
                             "gps_longitude",
                             "gps_altitude",
                             "lens",
                             "focal_length",
                             "keyword",
                             "rating",
                             "description",
                             "show",
                             "season",
                             "episode",
                             "date_source",
                             "date_offset"}) {
        expected.push_back(std::string(name) + "/0=");
    }
    std::vector<std::string> texts = Texts(answer);
    for (std::string &text : texts)
        text.pop_back();
    EXPECT_EQ(texts, expected);
}

TEST(FactRows, NumbersArePlainDecimals) {
    const struct {
        double number;
        const char *text;
    } cases[] = {
        {0, "0"},
        {-0.0, "0"},
        {1, "1"},
        {100, "100"},
        {-7.03, "-7.03"},
        {0.5, "0.5"},
        {4.15, "4.15"},
        {24000 / 1001.0, "23.976024"},
        {-33.8567844, "-33.8567844"},
        {1e15, "1000000000000000"},
        {1e-9, "0"},
        {-1e-9, "0"},
        {2.10, "2.1"},
    };
    for (const auto &of : cases)
        EXPECT_EQ(FactNumberText(of.number), of.text);
    EXPECT_EQ(FactNumberText(std::numeric_limits<double>::max()).size(), 309u);
    EXPECT_EQ(FactNumberText(-std::numeric_limits<double>::max()).size(), 310u);
}
