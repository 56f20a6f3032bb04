// SPDX-License-Identifier: GPL-2.0-or-later
//
// Films: formats, picture sizes, bit rates.
#include "tools/veluctl/report/report.h"

namespace {

constexpr const char *kTable = kMediaTables[kMediaVideo];

// Wide films are less high than their class, old ones less wide.
constexpr char kResolution[] = "case when width >= 3200 or height >= 1800 then 5 "
                               "when width >= 1800 or height >= 1000 then 4 "
                               "when width >= 1200 or height >= 700 then 3 "
                               "when width >= 640 or height >= 480 then 2 "
                               "when width > 0 and height > 0 then 1 else 0 end";

Histogram Heights(const std::string &films) {
    return {"Resolution",
            "Picture",
            "Files",
            {{1, "below DVD"}, {2, "like DVD"}, {3, "HD (720)"}, {4, "Full HD (1080)"}, {5, "4K and more"}},
            "without a known size",
            {kTable, films + " and " + kResolution + " = 0", "veluctl find kind=film missing:height"}};
}

Histogram FilmBitRates(const std::string &films) {
    return {"Bit rates",
            "Mbit/s",
            "Files",
            {{1, "below 1"},
             {2, "1\u20132"},
             {4, "2\u20134"},
             {8, "4\u20138"},
             {16, "8\u201316"},
             {32, "16\u201332"},
             {0, "32 and more"}},
            "without one",
            {kTable, films + " and coalesce(video_bitrate, 0) <= 0",
             "veluctl find kind=film missing:video_bitrate"}};
}

// Tenths of Mbit/s, and one more, since less than a tenth is not none.
constexpr char kTenths[] = "case when video_bitrate > 0 and video_bitrate < 100000000 "
                           "then video_bitrate / 100000 + 1 when video_bitrate > 0 then 1000 else 0 end";

double TenthsValue(const std::string &name) {
    constexpr double kTenth = 10;
    return PlainValue(name) / kTenth;
}

} // namespace

void FilmsWrite(Report *report) {
    if (report->kinds[kFilms].total.files == 0)
        return;
    SectionBegin(report, "films", "Films");
    FormatsWrite(report, kFilms);
    const std::string &films = report->kinds[kFilms].condition;
    HistogramWrite(report, Heights(films), TallyTake(&report->tallies, {kResolution, kTable, films}),
                   PlainValue);
    HistogramWrite(report, FilmBitRates(films), TallyTake(&report->tallies, {kTenths, kTable, films}),
                   TenthsValue);
    SectionEnd(report);
    PostersWrite(report);
}
