// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/limits.h"
#include "reader/sound/genres.h"
#include "reader/sound/tag_tables.h"

#include <gtest/gtest.h>
#include <taglib/id3v1genres.h>
#include <taglib/tstring.h>

namespace {

FactList Of(const TagItems &items, TagTable table = kXiphTable) {
    FactList facts;
    FactsFromItems(items, table, FactSource::own, &facts);
    return facts;
}

double Number(const TagItems &items, FactName name) {
    const FactList facts = Of(items);
    const Fact *fact = FactFind(facts, name);
    return fact != nullptr ? fact->number : -1;
}

std::string Text(const TagItems &items, FactName name) {
    const FactList facts = Of(items);
    const Fact *fact = FactFind(facts, name);
    return fact != nullptr ? fact->text : "";
}

TEST(SoundValues, Pairs) {
    EXPECT_EQ(Number({{"TRACKNUMBER", "3"}}, FactName::track), 3);
    EXPECT_EQ(Number({{"TRACKNUMBER", " 03 / 12"}}, FactName::track), 3);
    EXPECT_EQ(Number({{"TRACKNUMBER", " 03 / 12"}}, FactName::tracktotal), 12);
    EXPECT_EQ(Number({{"TRACKNUMBER", "/12"}}, FactName::track), -1);
    EXPECT_EQ(Number({{"TRACKNUMBER", "/12"}}, FactName::tracktotal), 12);
    EXPECT_EQ(Number({{"TRACKNUMBER", "0/0"}}, FactName::track), -1);
    EXPECT_EQ(Number({{"TRACKNUMBER", "A1"}}, FactName::track), -1);
    EXPECT_EQ(Number({{"TRACKNUMBER", "-1"}}, FactName::track), -1);
    EXPECT_EQ(Number({{"TRACKNUMBER", "3"}, {"TRACKTOTAL", "12"}}, FactName::tracktotal), 12);
    EXPECT_EQ(Number({{"DISCNUMBER", "1/2"}}, FactName::disctotal), 2);
}

TEST(SoundValues, Gains) {
    EXPECT_EQ(Number({{"REPLAYGAIN_TRACK_GAIN", "-7.89 dB"}}, FactName::replaygain_track_gain), -7.89);
    EXPECT_EQ(Number({{"REPLAYGAIN_TRACK_GAIN", "+3.5dB"}}, FactName::replaygain_track_gain), 3.5);
    EXPECT_EQ(Number({{"REPLAYGAIN_TRACK_GAIN", "0.00 dB"}}, FactName::replaygain_track_gain), 0);
    EXPECT_EQ(Number({{"replaygain_album_gain", "1"}}, FactName::replaygain_album_gain), 1);
    EXPECT_EQ(Number({{"REPLAYGAIN_TRACK_GAIN", "loud"}}, FactName::replaygain_track_gain), -1);
    EXPECT_EQ(Number({{"R128_TRACK_GAIN", "-256"}}, FactName::replaygain_track_gain), 4);
    EXPECT_EQ(Number({{"R128_TRACK_GAIN", "-256"}, {"REPLAYGAIN_TRACK_GAIN", "2"}},
                     FactName::replaygain_track_gain),
              2);
}

TEST(SoundValues, DatesHaveAYear) {
    EXPECT_EQ(Number({{"DATE", "2004-05-06"}}, FactName::year), 2004);
    EXPECT_EQ(Number({{"DATE", "6.5.2004"}}, FactName::year), 2004);
    EXPECT_EQ(Number({{"DATE", "spring"}}, FactName::year), -1);
    EXPECT_EQ(Text({{"DATE", "spring"}}, FactName::date), "spring");
    EXPECT_EQ(Number({{"DATE", "0000"}}, FactName::year), -1);
    EXPECT_EQ(Number({{"ORIGINALDATE", "1999"}}, FactName::year), -1);
}

TEST(SoundValues, FlagsAndNumbers) {
    EXPECT_EQ(Number({{"COMPILATION", "1"}}, FactName::compilation), 1);
    EXPECT_EQ(Number({{"COMPILATION", "true"}}, FactName::compilation), 1);
    EXPECT_EQ(Number({{"COMPILATION", "0"}}, FactName::compilation), -1);
    EXPECT_EQ(Number({{"BPM", "128.5"}}, FactName::bpm), 128.5);
    EXPECT_EQ(Number({{"BPM", "0"}}, FactName::bpm), -1);
    EXPECT_EQ(Number({{"BPM", "inf"}}, FactName::bpm), -1);
    EXPECT_EQ(Number({{"BPM", "1e999"}}, FactName::bpm), 1);
}

TEST(SoundValues, TheFirstKeyThatGivesSomethingCounts) {
    EXPECT_EQ(Text({{"DESCRIPTION", "second"}, {"comment", "first"}}, FactName::comment), "first");
    EXPECT_EQ(Of({{"DESCRIPTION", "second"}, {"COMMENT", "first"}}).facts.size(), 1u);
    EXPECT_EQ(Text({{"DESCRIPTION", "second"}, {"COMMENT", " "}}, FactName::comment), "second");
    EXPECT_EQ(Text({{"GENRE", "(17)"}}, FactName::genre), "Rock");
    EXPECT_EQ(Text({{"GENRE", "(17)Rock"}}, FactName::genre), "(17)Rock");
}

TEST(SoundValues, GenresOfNumbersAreTagLibsButForThoseOfTheFirstLists) {
    std::string others;
    for (unsigned number = 0; number < 256; ++number) {
        if (GenreName(number) != TagLib::ID3v1::genre(static_cast<int>(number)).to8Bit(true))
            others += std::to_string(number) + " " + GenreName(number) + "|";
    }
    EXPECT_EQ(others, "29 Jazz+Funk|40 Alt. Rock|59 Gangsta Rap|81 Folk-Rock|84 Fast-Fusion|90 Avantgarde|"
                      "125 Dance Hall|129 Hardcore|132 BritPop|133 Afro-Punk|146 JPop|");
    EXPECT_EQ(GenreName(191), "Psybient");
    EXPECT_EQ(GenreName(192) + GenreName(4000), "");
}

TEST(SoundValues, ManyValuesLeaveRoomForOthers) {
    TagItems items;
    for (size_t i = 0; i <= 2 * kSoundValuesMax; ++i) {
        items.push_back({"ARTIST", "artist " + std::to_string(i)});
        items.push_back({"COMPOSER", "composer " + std::to_string(i)});
        items.push_back({"GENRE", "genre " + std::to_string(i)});
    }
    items.push_back({"TITLE", "title"});
    items.push_back({"LANGUAGE", "deu"});
    const FactList facts = Of(items);
    size_t artists = 0;
    for (const Fact &fact : facts.facts)
        artists += fact.name == FactName::artist ? 1 : 0;
    EXPECT_EQ(artists, kSoundValuesMax);
    EXPECT_NE(FactFind(facts, FactName::title), nullptr);
    EXPECT_NE(FactFind(facts, FactName::language), nullptr);
}

TEST(SoundValues, EveryKeyOfATableStandsThereOnce) {
    for (const TagTable table : {kId3Table, kXiphTable, kMp4Table, kApeTable, kAsfTable, kChunkTable}) {
        for (size_t i = 0; i < table.count; ++i) {
            for (size_t j = 0; j < i; ++j)
                EXPECT_STRCASENE(table.rows[i].key, table.rows[j].key);
        }
    }
}

} // namespace
