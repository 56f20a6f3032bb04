// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_help.h"

#include "tools/veluctl/search/resolution.h"
#include "tools/veluctl/search/search_fields.h"

namespace {

// Names of one kind, with blanks between them.
std::string NamesOf(std::initializer_list<FieldKind> kinds) {
    std::string names;
    for (const SearchField &field : SearchFields()) {
        for (const FieldKind kind : kinds) {
            if (field.kind == kind)
                names.append(names.empty() ? "" : " ").append(field.name);
        }
    }
    return names;
}

// What is listed of the kinds that are no media files; their tables have the fields.
struct KindMeaning {
    const char *kind;
    const char *meaning;
};
constexpr KindMeaning kKindMeanings[] = {
    {"directory", "Folders"},
    {"library",
     "Photos as the photo library has them, with the titles and descriptions that people gave them"},
    {"description", "Titles and descriptions that people gave to films of the photo share"},
    {"album", "The photo library's albums: which folders of the photo share it shows, and to whom"}};

HelpList KindsHelp() {
    HelpList kinds = {"Kinds",
                      {{"song, film, photo",
                        "Files with sound, moving and still pictures; as music, video and picture, too"},
                       {"playlist", "Lists of songs and films"}}};
    for (const KindMeaning &one : kKindMeanings) {
        std::string text = std::string(one.meaning) + ". Fields:";
        for (const Column &column : SearchKindFind(one.kind)->columns)
            text.append(" ").append(column.name);
        kinds.entries.emplace_back(one.kind, std::move(text));
    }
    return kinds;
}

HelpList FieldsHelp() {
    return {
        "Fields",
        {{"texts", NamesOf({FieldKind::text, FieldKind::path})},
         {"numbers", NamesOf({FieldKind::number})},
         {"years", NamesOf({FieldKind::year}) + ": 1990, 1990..1999, 1990-1999, 1990s, 199x; of a photo, the "
                                                "year in which it was taken"},
         {"times", NamesOf({FieldKind::seconds}) + ": 3:25, 1:02:03 or seconds"},
         {"sizes", NamesOf({FieldKind::bytes}) + ": 700, 500kB, 3.4MB, 2GiB"},
         {"dates", NamesOf({FieldKind::date}) +
                       ": 2026, 2026-10, 2026-10-31, in local time; all of it counts: >2026-10 begins with "
                       "November; today, yesterday, week, month and year are the last days"},
         {"picture", NamesOf({FieldKind::resolution}) + " of films: " + ResolutionNames() +
                         "; films without edges, cut or upright ones count, too"},
         {"yes or no", NamesOf({FieldKind::flag, FieldKind::boolean})}}};
}

// Names that are near to each other.
HelpList NamesHelp() {
    return {"Fields of subtitles and photos",
            {{"subtitles", "The languages of all subtitles that a film has, in it and beside it"},
             {"subtitle_language", "Only of those in the film"},
             {"subtitle_file_language", "Only of those in files beside it, as their names say: film.de.srt"},
             {"subtitle", "The paths of these files"},
             {"make, model, camera",
              "camera_make and, for the other two, camera_model; in the photo library make "
              "and model"},
             {"taken, date", "date_taken of a photo; date is also the date that a song has"},
             {"exposure, fnumber, iso",
              "exposure_time, f_number and iso_speed, which the photo library calls so"}}};
}

} // namespace

std::vector<HelpList> SearchHelp() {
    return {
        {"Words",
         {{"love live", "Both stand in path, title, artist, album, genre, composer or comment; case and "
                        "accents do not count"},
          {"\"feeling good\"", "A text as it stands"},
          {"-live", "Not this; goes with fields, too"},
          {"A or B", "Either what stands in front or what stands behind"},
          {"artist=X", "The field is X, without regard to case and accents; in one argument all words up to "
                       "the next field"},
          {"title~part", "The field has this text somewhere"},
          {"year=1990..1999", "From, to"},
          {"size=100k..", "That much or more; ..100k is that or less. Numbers, times, sizes and dates"},
          {"'duration>10:00'", "More than that; also < >= <=. In quotes: shells take > and < as the names of "
                               "files to write and read, while the form above needs none"},
          {"has:cover", "The field has a value"},
          {"missing:year", "It has none, in files that mostly have one"},
          {"resolution=4k", "Films by the size of their picture"},
          {"subtitles=german",
           "Films with such subtitles; languages go by English name, their own (deutsch) and codes"},
          {"kind=film", "One of " + SearchKindNames()}}},
        FieldsHelp(),
        NamesHelp(),
        KindsHelp()};
}

std::vector<CommandExample> SearchExamples() {
    return {
        {"veluctl find beyonce -live", "What has the name anywhere, but not the word live"},
        {"veluctl find artist=\"nina simone\" year=1960..1969 --sort year,title",
         "Her songs of the sixties, in order"},
        {"veluctl find resolution=4k codec=hevc", "Films in 4K of this codec"},
        {"veluctl find kind=song missing:year --group album", "Albums whose songs have no year"},
        {"veluctl find added=2026-10.. --sort -added -n 20", "The newest files since October"},
        {"veluctl find size=2GB.. --sort -size", "What takes the most room"},
        {"veluctl find kind=photo camera~canon iso=800.. --json", "Photos, for a program"},
        {"veluctl find genre=jazz or genre=blues --m3u > evening.m3u8", "A playlist"},
    };
}

std::vector<std::string> SearchFieldNames() {
    std::vector<std::string> names;
    for (const SearchField &field : SearchFields())
        names.emplace_back(field.name);
    return names;
}

std::vector<std::string> SearchBeginnings() {
    std::vector<std::string> beginnings = {"has:", "missing:"};
    for (const SearchField &field : SearchFields())
        beginnings.push_back(std::string(field.name) + "=");
    return beginnings;
}
