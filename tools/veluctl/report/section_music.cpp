// SPDX-License-Identifier: GPL-2.0-or-later
//
// Music: formats and rates, who and what is played, and how well it is tagged.
#include <map>

#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/report/bars.h"
#include "tools/veluctl/report/month.h"
#include "tools/veluctl/report/number_text.h"
#include "tools/veluctl/report/report.h"

namespace {

constexpr const char *kTable = kMediaTables[kMediaMusic];

const Histogram &BitRates() {
    static const Histogram histogram = {
        "Bit rates",
        "kbit/s",
        "Files",
        {{63, "below 64"},
         {95, "64\u201395"},
         {127, "96\u2013127"},
         {159, "128\u2013159"},
         {191, "160\u2013191"},
         {223, "192\u2013223"},
         {255, "224\u2013255"},
         {319, "256\u2013319"},
         {499, "320\u2013499"},
         {999, "500\u2013999"},
         {1999, "1000\u20131999"},
         {0, "2000 and more"}},
        "without one",
        {kTable, "coalesce(audio_bitrate, 0) <= 0", "veluctl find kind=song missing:audio_bitrate"}};
    return histogram;
}

const Histogram &SampleRates() {
    static const Histogram histogram = {
        "Sample rates",
        "kHz",
        "Files",
        {{8000, "up to 8"},
         {16000, "up to 16"},
         {22050, "up to 22.05"},
         {32000, "up to 32"},
         {44100, "up to 44.1"},
         {48000, "up to 48"},
         {96000, "up to 96"},
         {0, "above 96"}},
        "without one",
        {kTable, "coalesce(sample_rate, 0) <= 0", "veluctl find kind=song missing:sample_rate"}};
    return histogram;
}

// Whole kbit/s, so that the groups are few, whatever the rates of variable streams.
std::string KilobitsOf(const char *column) {
    const std::string name = column;
    return "case when " + name + " > 0 and " + name + " < 10000000 then " + name + " / 1000 + 1 when " +
           name + " > 0 then 10000 else 0 end";
}

// The group number of KilobitsOf: one more than the rate, since less than one is not none.
double KilobitsValue(const std::string &name) {
    const double number = PlainValue(name);
    return number > 1 ? number - 1 : number / 2;
}

void DecadesWrite(Report *report) {
    constexpr int kYearsInDecade = 10;
    const Tally tally = TallyTake(&report->tallies, {"year / 10", kTable, "year between 1000 and 2999"});
    const int now = YearOf(MonthNow(report->now)) / kYearsInDecade;
    std::map<int, int64_t> decades;
    for (const Group &group : tally.groups) {
        const int decade = atoi(group.name.c_str());
        if (decade <= now)
            decades[decade] = group.files;
    }
    Bars bars = {"Decades", "Decade", "Files"};
    for (const auto &[decade, files] : decades)
        bars.bars.push_back(
            {std::to_string(decade * kYearsInDecade) + "s", static_cast<double>(files), CountText(files)});
    BarsWrite(&report->html, bars);
}

struct Trait {
    const char *name;
    const char *condition;
    const char *without; // "12 without an artist"
    const char *command; // that lists those
};
constexpr Trait kTraits[] = {
    {"Artist", "artist <> ''", "without an artist", "veluctl find kind=song missing:artist"},
    {"Genre", "genre <> ''", "without a genre", "veluctl find kind=song missing:genre"},
    {"Year", "year > 0", "without a year", "veluctl missing years"},
    {"Track number", "track > 0", "without a track number", "veluctl find kind=song missing:track"},
    {"Cover", "has_cover <> 0", "without a cover", "veluctl missing covers"},
};

void TraitsWrite(Report *report) {
    std::vector<std::string> sums;
    for (const Trait &trait : kTraits)
        sums.push_back(std::string("sum(case when ") + trait.condition + " then 1 else 0 end)");
    const std::vector<int64_t> numbers = NumbersTake(&report->tallies, sums, kTable);
    const auto all = static_cast<double>(report->kinds[kMusic].total.files);
    Bars bars = {"What the tags tell", "Tag", "Tracks", "Share"};
    for (size_t at = 0; at < numbers.size(); ++at) {
        const Trait &trait = kTraits[at];
        bars.bars.push_back({trait.name, static_cast<double>(numbers[at]), CountText(numbers[at]),
                             ShareText(static_cast<double>(numbers[at]), all)});
        const int64_t without = report->kinds[kMusic].total.files - numbers[at];
        if (without > 0)
            bars.lists.push_back(PathsTake(
                &report->tallies, CountText(without) + " " + trait.without, without,
                {kTable, std::string("not coalesce(") + trait.condition + ", false)", trait.command}));
    }
    bars.longest = all;
    BarsWrite(&report->html, bars);
}

// Songs by each value of a tag, and without facts by all of them in one, as rows have them. The cross join has SQLite go through the files
// in their order; by the index of values it would come to them in any.
TallyQuery ByTag(const Report &report, const std::string &tag) {
    if (!report.facts)
        return {tag, kTable, tag + " <> ''"};
    return {"min(f.value)", std::string("file_state s cross join file_fact f cross join ") + kTable + " m",
            "f.file = s.id and m.path = s.path and f.name = (select id from fact_name where name = '" + tag +
                "')",
            0, kFactFolded};
}

} // namespace

void MusicWrite(Report *report) {
    if (report->kinds[kMusic].total.files == 0)
        return;
    SectionBegin(report, "music", "Music");
    FormatsWrite(report, kMusic);
    HistogramWrite(report, BitRates(), TallyTake(&report->tallies, {KilobitsOf("audio_bitrate"), kTable}),
                   KilobitsValue);
    FavouritesWrite(report, {"Artists", "Artist", "veluctl list artists"}, ByTag(*report, "artist"));
    FavouritesWrite(report, {"Genres", "Genre", "veluctl list genres"}, ByTag(*report, "genre"));
    DecadesWrite(report);
    HistogramWrite(report, SampleRates(), TallyTake(&report->tallies, {"sample_rate", kTable}), PlainValue);
    TraitsWrite(report);
    SectionEnd(report);
    CoversWrite(report);
}
