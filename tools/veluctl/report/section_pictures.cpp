// SPDX-License-Identifier: GPL-2.0-or-later
//
// Pictures: formats, cameras and their settings, months.
#include <map>

#include "tools/veluctl/report/bars.h"
#include "tools/veluctl/report/month.h"
#include "tools/veluctl/report/month_grid.h"
#include "tools/veluctl/report/number_text.h"
#include "tools/veluctl/report/report.h"

namespace {

constexpr const char *kTable = kMediaTables[kMediaPhoto];
constexpr size_t kCameras = 20;
constexpr Month kFirstMonth = MonthOf(1826, 1); // of the oldest photograph

const Histogram &Sensitivities() {
    static const Histogram histogram = {
        "Sensitivity",
        "ISO",
        "Pictures",
        {{100, "up to 100"},
         {200, "up to 200"},
         {400, "up to 400"},
         {800, "up to 800"},
         {1600, "up to 1600"},
         {3200, "up to 3200"},
         {6400, "up to 6400"},
         {0, "above 6400"}},
        "without one",
        {kTable, "coalesce(iso_speed, 0) <= 0", "veluctl find kind=photo missing:iso_speed"}};
    return histogram;
}

const Histogram &Apertures() {
    static const Histogram histogram = {
        "Aperture",
        "f-number",
        "Pictures",
        {{1.4, "f/1.4 and wider"},
         {2, "to f/2"},
         {2.8, "to f/2.8"},
         {4, "to f/4"},
         {5.6, "to f/5.6"},
         {8, "to f/8"},
         {11, "to f/11"},
         {16, "to f/16"},
         {0, "narrower"}},
        "without one",
        {kTable, "coalesce(f_number, '') = ''", "veluctl find kind=photo missing:f_number"}};
    return histogram;
}

// "f/5.6", and from other programs "5.6".
double ApertureValue(const std::string &name) {
    return PlainValue(name.starts_with("f/") ? name.substr(2) : name);
}

// No text of the catalogue has a tab in it.
constexpr char kCamera[] = "coalesce(camera_make, '') || '\t' || coalesce(camera_model, '')";

// Many models begin with their make already.
std::string CameraName(const std::string &name) {
    const size_t tab = name.find('\t');
    const std::string make = name.substr(0, tab);
    const std::string model = tab != std::string::npos ? name.substr(tab + 1) : std::string();
    if (model.empty() || model.starts_with(make.substr(0, make.find(' '))))
        return model.empty() ? make : model;
    return make + " " + model;
}

void CamerasWrite(Report *report) {
    FavouritesWrite(report, {"Cameras", "Camera", "veluctl list cameras", kCameras, CameraName},
                    {kCamera, kTable, "camera_make <> '' or camera_model <> ''"});
}

void MonthsWrite(Report *report) {
    const Month now = MonthNow(report->now);
    std::map<Month, int64_t> counts;
    int64_t odd = 0;
    for (const Group &group :
         TallyTake(&report->tallies, {"substr(date_taken, 1, 7)", kTable, "date_taken <> ''"}).groups) {
        const std::optional<Month> month = MonthParse(group.name);
        if (month && *month >= kFirstMonth && *month <= now)
            counts[*month] += group.files;
        else
            odd += group.files;
    }
    MonthGridWrite(&report->html, counts);
    if (odd > 0)
        report->html.Put("<p class=\"note wide\">")
            .Text(CountedText(odd, "picture has", "pictures have"))
            .Put(" a date that cannot be.</p>\n");
}

} // namespace

void PicturesWrite(Report *report) {
    if (report->kinds[kPictures].total.files == 0)
        return;
    SectionBegin(report, "pictures", "Pictures");
    MonthsWrite(report);
    CamerasWrite(report);
    FormatsWrite(report, kPictures);
    HistogramWrite(report, Sensitivities(), TallyTake(&report->tallies, {"iso_speed", kTable}), PlainValue);
    HistogramWrite(report, Apertures(), TallyTake(&report->tallies, {"f_number", kTable}), ApertureValue);
    SectionEnd(report);
}
