// SPDX-License-Identifier: GPL-2.0-or-later
//
// The numbers that several sections need.
#include <algorithm>

#include "daemon/walk_rules_subtitles.h"
#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/report/report.h"

namespace {

void Add(Group *sum, const Group &group) {
    sum->files += group.files;
    sum->bytes += group.bytes;
    sum->seconds += group.seconds;
}

bool IsSubtitles(const Group &format) {
    return std::ranges::find(kSubtitleExtensions, format.name) != std::end(kSubtitleExtensions);
}

// They are all of three letters.
std::string NoSubtitles() {
    std::string sql;
    for (const std::string_view extension : kSubtitleExtensions)
        sql.append(sql.empty() ? "lower(substr(path, length(path) - 3)) not in ('." : ", '.")
            .append(extension)
            .append("'");
    return sql + ")";
}

} // namespace

void NumbersOfKindsTake(Report *report) {
    report->facts = FileTablesLook(report->tallies.reader) == 1;
    report->kinds = {{kMediaTables[kMediaMusic], "Music", "music"},
                     {kMediaTables[kMediaVideo], "Films", "films", NoSubtitles()},
                     {kMediaTables[kMediaPhoto], "Pictures", "pictures"},
                     {kMediaTables[kMediaPlaylist], "Playlists", "playlists"},
                     {kMediaTables[kMediaVideo], "Subtitles", "subtitles"}};
    for (KindFacts &kind : report->kinds) {
        if (&kind == &report->kinds[kSubtitles])
            break;
        kind.formats = FormatsTake(&report->tallies, kind.table.text);
    }
    std::vector<Group> *films = &report->kinds[kFilms].formats.groups;
    const auto subtitles = std::stable_partition(films->begin(), films->end(), std::not_fn(IsSubtitles));
    report->kinds[kSubtitles].formats.groups.assign(subtitles, films->end());
    films->erase(subtitles, films->end());
    for (KindFacts &kind : report->kinds) {
        for (const Group &format : kind.formats.groups)
            Add(&kind.total, format);
        Add(&report->total, kind.total);
    }
    report->directories = NumbersTake(&report->tallies, {"count(*)"}, kDirectoryTable).front();
}
