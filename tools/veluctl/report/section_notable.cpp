// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is worth a look: the largest files, files that are there more than once, albums that lack tracks, formats that players
// find hard.
#include <algorithm>

#include "tools/veluctl/overview/query_rows.h"
#include "tools/veluctl/overview/track_gaps_read.h"
#include "tools/veluctl/report/hard_formats.h"
#include "tools/veluctl/report/number_text.h"
#include "tools/veluctl/report/report.h"
#include "tools/veluctl/words_each.h"

namespace {

constexpr uint32_t kLargestShown = 12;
constexpr size_t kAlbumsShown = 30;

void LargestWrite(Report *report) {
    constexpr Column kColumns[] = {{"path", "", Type::path}, {"file_size", "", Type::bytes}};
    if (report->tallies.failed)
        return;
    // Of each table its largest, so that no database sorts more than it must.
    SqlText query;
    for (const char *table : kMediaTables)
        query.Add(query.sql.empty() ? "select path, file_size from (" : " union all ")
            .Add(std::string("select * from (select path, file_size from ") + table +
                 " order by file_size desc limit " + std::to_string(kLargestShown) + ") as " + table +
                 "_largest");
    query.Add(") as largest order by file_size desc, path");
    LimitPut(&query, kLargestShown);
    OpenList list = {"Where they are", 0, "veluctl find size=1.. --sort -size"};
    Bars bars = {"Largest files", "File", "Size"};
    report->tallies.failed = !QueryRowsTake(report->tallies.reader, query, kColumns, [&](const Row &row) {
        const std::string path = row[0].value_or("");
        const double size = PlainValue(row[1].value_or("0"));
        bars.bars.push_back({path.substr(path.rfind('/') + 1), size, SizeText(size)});
        list.entries.push_back({path});
    });
    list.in_all = static_cast<int64_t>(list.entries.size());
    bars.lists.push_back(std::move(list));
    BarsWrite(&report->html, bars);
}

std::string AlbumText(const AlbumGaps &gaps) {
    const std::string album = gaps.artist.empty() ? gaps.album : gaps.artist + " \u2013 " + gaps.album;
    return gaps.disc > 1 ? album + ", disc " + std::to_string(gaps.disc) : album;
}

// "3, 5 and 7".
std::string Listed(std::string numbers) {
    constexpr std::string_view kBetween = ", ";
    const size_t last = numbers.rfind(kBetween);
    return last == std::string::npos ? numbers : numbers.replace(last, kBetween.size(), " and ");
}

void TracksMissingWrite(Report *report) {
    if (report->tallies.failed)
        return;
    OpenList list = {{}, 0, "veluctl missing tracks"};
    const auto all = [] { return true; };
    const auto take = [&](const AlbumGaps &gaps) {
        if (list.entries.size() < kAlbumsShown)
            list.entries.push_back({AlbumText(gaps), "lacks " + Listed(gaps.missing) + " of " +
                                                         std::to_string(gaps.last) + " tracks"});
        ++list.in_all;
    };
    report->tallies.failed = !TrackGapsRead(report->tallies.reader, {.states = report->facts}, all, take);
    if (list.in_all == 0)
        return;
    list.summary = CountedText(list.in_all, "album lacks tracks", "albums lack tracks");
    CardBegin(report, "Missing tracks");
    report->html.Put(
        "<p>By the numbers of those that are there, and by how many their tags say that there are.</p>\n");
    OpenListWrite(&report->html, list);
    CardEnd(report);
}

struct HardFiles {
    const HardFormat *format;
    int64_t files = 0;
    FilesBehind behind = {};
};

constexpr char kEveryPath[] =
    "(select path from music union all select path from video union all select path from photo) as media";

// Files of such extensions. The extensions of all files have been counted.
HardFiles ByExtension(const Report &report, const HardFormat &format) {
    HardFiles hard = {&format, 0, {kEveryPath, {}, {}}};
    WordsEach(format.extensions, [&](const std::string &extension) {
        for (const KindFacts &kind : report.kinds)
            for (const Group &group : kind.formats.groups)
                hard.files += group.name == extension ? group.files : 0;
        hard.behind.condition.append(hard.behind.condition.empty() ? "" : " or ")
            .append("lower(path) like '%." + extension + "'");
        hard.behind.command.append(hard.behind.command.empty() ? "veluctl find " : " or ")
            .append("path~." + extension);
    });
    return hard;
}

// Pictures have codecs of films, too.
std::string NoPicture(const char *path) {
    return std::string("not exists (select 1 from photo where photo.path = ") + path + ")";
}

// All that are named, so that an index leads to their files, which are few.
std::string HardCodecs() {
    std::string all;
    for (const HardFormat &format : HardFormats())
        WordsEach(format.codecs, [&](const std::string &codec) {
            all.append(all.empty() ? "'" : ", '").append(codec).append("'");
        });
    return all;
}

HardFiles ByCodec(const std::vector<GroupCount> &codecs, const HardFormat &format) {
    HardFiles hard = {&format};
    const std::string fact(format.fact);
    std::string values;
    WordsEach(format.codecs, [&](const std::string &codec) {
        for (const GroupCount &count : codecs)
            hard.files += count.name == fact + " " + codec ? count.count : 0;
        values.append(values.empty() ? "'" : ", '").append(codec).append("'");
        hard.behind.command.append(hard.behind.command.empty() ? "veluctl find " : " or ")
            .append(fact + "=" + codec);
    });
    hard.behind.table = "fact";
    hard.behind.condition =
        "name = '" + fact + "' and coalesce(folded, value) in (" + values + ") and " + NoPicture("fact.path");
    return hard;
}

// How many songs and films have each of those codecs, as "FACT CODEC".
std::vector<GroupCount> CodecsTake(Report *report) {
    if (!report->facts)
        return {};
    return CountsTake(&report->tallies,
                      {"n.name || ' ' || coalesce(f.folded, f.value)",
                       "fact_name n join file_fact f on f.name = n.id join file_state s on s.id = f.file",
                       "n.name in ('codec', 'video_codec') and coalesce(f.folded, f.value) in (" +
                           HardCodecs() + ") and " + NoPicture("s.path")});
}

void HardFormatsWrite(Report *report) {
    const std::vector<GroupCount> codecs = CodecsTake(report);
    std::vector<HardFiles> all;
    for (const HardFormat &format : HardFormats()) {
        HardFiles hard =
            report->facts && !format.fact.empty() ? ByCodec(codecs, format) : ByExtension(*report, format);
        if (hard.files > 0)
            all.push_back(std::move(hard));
    }
    if (all.empty())
        return;
    std::ranges::stable_sort(all, std::ranges::greater(), &HardFiles::files);
    CardBegin(report, "What players find hard");
    for (const HardFiles &hard : all)
        OpenListWrite(&report->html, PathsTake(&report->tallies,
                                               CountedText(hard.files, "file of ", "files of ") +
                                                   hard.format->name + ": " + hard.format->where,
                                               hard.files, hard.behind));
    CardEnd(report);
}

} // namespace

void NotableWrite(Report *report) {
    if (report->total.files == 0)
        return;
    SectionBegin(report, "notable", "Worth a look");
    LargestWrite(report);
    CopiesWrite(report);
    TracksMissingWrite(report);
    HardFormatsWrite(report);
    SectionEnd(report);
}
