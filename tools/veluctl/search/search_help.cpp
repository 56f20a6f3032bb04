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
          {"year=1990..1999", "From, to; 1990.. and ..1999 are open"},
          {"duration>10:00", "Also < >= <=; in quotes, since shells take > and < themselves"},
          {"has:cover", "The field has a value"},
          {"missing:year", "It has none, in files that mostly have one"},
          {"resolution=4k", "Films by the size of their picture"},
          {"subtitles=german",
           "Films with such subtitles, in the film or in a file beside it; languages go by "
           "name and codes"},
          {"kind=film", "One of " + SearchKindNames()}}},
        {"Fields",
         {{"texts", NamesOf({FieldKind::text, FieldKind::path})},
          {"numbers", NamesOf({FieldKind::number})},
          {"times", NamesOf({FieldKind::seconds}) + ": 3:25, 1:02:03 or seconds"},
          {"sizes", NamesOf({FieldKind::bytes}) + ": 700, 500kB, 3.4MB, 2GiB"},
          {"dates", NamesOf({FieldKind::date}) +
                        ": 2026, 2026-10, 2026-10-31, in local time; all of it counts: >2026-10 begins with "
                        "November; today, yesterday, week, month and year are the last days"},
          {"picture", NamesOf({FieldKind::resolution}) + " of films: " + ResolutionNames() +
                          "; films without edges, cut or upright ones count, too"},
          {"yes or no", NamesOf({FieldKind::flag, FieldKind::boolean})}}}};
}

std::vector<CommandExample> SearchExamples() {
    return {
        {"veluctl find beyonce -live", "What has the name anywhere, but not the word live"},
        {"veluctl find artist=\"nina simone\" year=1960..1969 --sort year,title",
         "Her songs of the sixties, in order"},
        {"veluctl find resolution=4k codec=hevc", "Films in 4K of this codec"},
        {"veluctl find kind=song missing:year --group album", "Albums whose songs have no year"},
        {"veluctl find 'added>=2026-10' --sort -added -n 20", "The newest files since October"},
        {"veluctl find kind=photo camera~canon 'iso_speed>800' --json", "Photos, for a program"},
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
