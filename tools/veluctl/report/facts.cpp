// SPDX-License-Identifier: GPL-2.0-or-later
//
// The numbers that several sections need.
#include "tools/veluctl/report/report.h"

namespace {

void Add(Group *sum, const Group &group) {
    sum->files += group.files;
    sum->bytes += group.bytes;
    sum->seconds += group.seconds;
}

} // namespace

void FactsTake(Report *report) {
    report->kinds = {{kMediaTables[kMediaMusic], "Music", "music"},
                     {kMediaTables[kMediaVideo], "Films", "films"},
                     {kMediaTables[kMediaPhoto], "Pictures", "pictures"},
                     {kMediaTables[kMediaPlaylist], "Playlists", "playlists"}};
    for (KindFacts &kind : report->kinds) {
        kind.formats = FormatsTake(&report->tallies, kind.table.text);
        for (const Group &format : kind.formats.groups)
            Add(&kind.total, format);
        Add(&report->total, kind.total);
    }
    report->directories = NumbersTake(&report->tallies, {"count(*)"}, kDirectoryTable).front();
}
