// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/fact_columns.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

struct Told {
    Answer answer;
    Told &Text(FactName name, const std::string &text) {
        EXPECT_TRUE(FactAddText(&answer.facts, name, FactSource::taglib, text));
        return *this;
    }
    Told &Number(FactName name, double number) {
        EXPECT_TRUE(FactAddNumber(&answer.facts, name, FactSource::taglib, number));
        return *this;
    }
    MediaInfo Record(ContentClass content = ContentClass::sound) {
        answer.content = content;
        MediaInfo record = {};
        FactColumnsFill(answer, &record);
        return record;
    }
};

TEST(FactColumns, TextAndNumbersGoWhereTheirNamesSay) {
    const MediaInfo record = Told()
                                 .Text(FactName::title, "T")
                                 .Text(FactName::album, "A")
                                 .Text(FactName::comment, "C")
                                 .Text(FactName::camera_make, "M")
                                 .Text(FactName::f_number, "f/2.8")
                                 .Text(FactName::date_taken, "2001-02-03 04:05:06")
                                 .Text(FactName::lyrics, "no column has them")
                                 .Number(FactName::track, 3)
                                 .Number(FactName::disc, 2)
                                 .Number(FactName::year, 1999)
                                 .Number(FactName::duration, 12.5)
                                 .Number(FactName::audio_bitrate, 320000)
                                 .Number(FactName::sample_rate, 44100)
                                 .Number(FactName::channels, 2)
                                 .Number(FactName::width, 640)
                                 .Number(FactName::height, 480)
                                 .Number(FactName::iso_speed, 100)
                                 .Record();
    EXPECT_STREQ(record.title, "T");
    EXPECT_STREQ(record.album, "A");
    EXPECT_STREQ(record.comment, "C");
    EXPECT_STREQ(record.camera_make, "M");
    EXPECT_STREQ(record.f_number, "f/2.8");
    EXPECT_STREQ(record.date_taken, "2001-02-03 04:05:06");
    EXPECT_EQ(record.track, 3);
    EXPECT_EQ(record.disc, 2);
    EXPECT_EQ(record.year, 1999);
    EXPECT_EQ(record.duration, 12.5f);
    EXPECT_EQ(record.audio_bitrate, 320000u);
    EXPECT_EQ(record.sample_rate, 44100u);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.width, 640u);
    EXPECT_EQ(record.height, 480u);
    EXPECT_EQ(record.iso_speed, 100u);
}

TEST(FactColumns, SeveralValuesAreJoined) {
    Told told;
    told.Text(FactName::artist, "One").Text(FactName::artist, "Two").Text(FactName::artist, "Three");
    EXPECT_STREQ(told.Record().artist, "One; Two; Three");
    for (const FactName name :
         {FactName::title, FactName::album, FactName::genre, FactName::composer, FactName::comment})
        told.Text(name, std::string("A ") + FactKindOf(name).word).Text(name, "B");
    const MediaInfo record = told.Record();
    EXPECT_STREQ(record.title, "A title; B");
    EXPECT_STREQ(record.album, "A album; B");
    EXPECT_STREQ(record.genre, "A genre; B");
    EXPECT_STREQ(record.composer, "A composer; B");
    EXPECT_STREQ(record.comment, "A comment; B");
}

TEST(FactColumns, TextIsCutAtACharacter) {
    const std::string full(kMediaTextSize - 1, 'x');
    EXPECT_EQ(Told().Text(FactName::title, full).Record().title, full);
    EXPECT_EQ(Told().Text(FactName::title, full + "y").Record().title, full);
    const std::string less(kMediaTextSize - 3, 'x');
    EXPECT_EQ(Told().Text(FactName::title, less + "\u20ac" + "more").Record().title, less);
    EXPECT_EQ(Told().Text(FactName::artist, less).Text(FactName::artist, "more").Record().artist,
              less + "; ");
}

TEST(FactColumns, TheYearComesFromTheDateWhenThereIsNone) {
    EXPECT_EQ(Told().Text(FactName::date, "2001-05-06").Record().year, 2001);
    EXPECT_EQ(Told().Text(FactName::date, "2001").Record().year, 2001);
    EXPECT_EQ(Told().Text(FactName::date, "2001").Number(FactName::year, 1987).Record().year, 1987);
    for (const char *none : {"May 2001", "201", "20010506", "x"})
        EXPECT_EQ(Told().Text(FactName::date, none).Record().year, 0) << none;
}

TEST(FactColumns, ACoverIsNoFilm) {
    Told told;
    told.Number(FactName::video_bitrate, 5000);
    EXPECT_EQ(told.Record(ContentClass::sound).video_bitrate, 0u);
    EXPECT_EQ(told.Record(ContentClass::film).video_bitrate, 5000u);
}

TEST(FactColumns, NumbersThatNoColumnHolds) {
    const MediaInfo record = Told()
                                 .Number(FactName::track, 1e15)
                                 .Number(FactName::sample_rate, 1e15)
                                 .Number(FactName::duration, -1.5)
                                 .Record();
    EXPECT_EQ(record.track, std::numeric_limits<int32_t>::max());
    EXPECT_EQ(record.sample_rate, std::numeric_limits<uint32_t>::max());
    EXPECT_EQ(record.duration, -1.5f); // MediaInfoValid makes it 0
}

} // namespace
