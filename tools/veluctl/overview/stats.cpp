// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl stats: taking the numbers, by few queries that the database answers itself.
#include "tools/veluctl/overview/stats.h"

#include <algorithm>
#include <map>

#include "tools/veluctl/commands.h"
#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/overview/missing_tags.h"
#include "tools/veluctl/search/search_source.h"

namespace {

// A song's decade; 0: it has no year that is one.
constexpr char kDecade[] = "case when year between 1000 and 9999 then year / 10 * 10 else 0 end";

void DecadesPut(const std::vector<FormatPart> &parts, Stats *stats) {
    std::map<int64_t, int64_t> decades;
    for (const FormatPart &part : parts)
        if (part.part != 0)
            decades[part.part] += part.files.files;
    for (const auto &[decade, files] : decades)
        stats->decades.push_back({std::to_string(decade), files});
}

void KindsTake(TallyReader *tallies, Stats *stats) {
    for (const CatalogueTable &table : CatalogueTables()) {
        if (!table.is_media)
            continue;
        const bool songs = table.table == std::string_view(kMediaTables[kMediaMusic]);
        const std::vector<FormatPart> parts = FormatPartsTake(tallies, table.table, songs ? kDecade : "0");
        if (songs)
            DecadesPut(parts, stats);
        StatsKind kind = {table.kind, {}, FormatsOf(parts).groups};
        for (const Group &format : kind.formats) {
            kind.total.files += format.files;
            kind.total.bytes += format.bytes;
            kind.total.seconds += format.seconds;
        }
        stats->kinds.push_back(std::move(kind));
    }
    stats->directories = NumberTake(tallies, std::string("select count(*) as n from ") + kDirectoryTable);
}

int64_t ValuesCount(TallyReader *tallies, const std::string &tag, bool facts) {
    if (facts)
        return NumberTake(tallies, FactValuesFound(tag) + "select count(value) as n from found");
    std::string values;
    for (const char *table : kMediaTables)
        values += (values.empty() ? "select " : " union select ") + tag + " as tag from " + table;
    return NumberTake(tallies, "select count(*) as n from (" + values + ") as tags where tag <> ''");
}

void NamesTake(TallyReader *tallies, Stats *stats) {
    stats->artists = ValuesCount(tallies, "artist", stats->facts);
    stats->genres = ValuesCount(tallies, "genre", stats->facts);
}

std::vector<GroupCount> InOrder(std::vector<GroupCount> counts) {
    std::ranges::sort(counts, {}, &GroupCount::name);
    return counts;
}

std::string CountWhere(const std::string &condition) {
    return "count(*) filter (where " + condition + ")";
}

// Songs that lack tags, in one pass over the rows. The titles of albums are apart: where different values are counted beside
// something else, a server sorts all of them and shares the work with nobody.
void SongsTake(TallyReader *tallies, Stats *stats) {
    stats->albums = NumberTake(
        tallies, "select count(*) as n from (select distinct album from music where album <> '') as albums");
    std::vector<std::string> columns;
    for (const TagLack &lack : TagLacks()) {
        if (!stats->facts && *lack.of_row == '\0')
            continue;
        columns.push_back(CountWhere(*lack.of_row != '\0' ? lack.of_row : "1 = 0"));
        stats->missing.push_back({lack.tag, 0});
    }
    columns.push_back(CountWhere("m.has_cover = 0"));
    stats->missing.push_back({"cover", 0});
    const std::vector<int64_t> numbers = NumbersTake(tallies, columns, "music m");
    for (size_t at = 0; at < stats->missing.size(); ++at)
        stats->missing[at].count = numbers[at];
}

// Tags in whose place a row has something of the file's name.
void NamedTake(TallyReader *tallies, Stats *stats) {
    std::vector<std::string> columns;
    std::string any = "1 = 0";
    for (const TagLack &lack : TagLacks()) {
        columns.push_back(CountWhere(*lack.of_state != '\0' ? lack.of_state : "1 = 0"));
        if (*lack.of_state != '\0')
            any.append(" or ").append(lack.of_state);
    }
    const std::vector<int64_t> numbers =
        NumbersTake(tallies, columns, "file_state s join music m on m.path = s.path where " + any);
    for (size_t at = 0; at < numbers.size(); ++at)
        stats->missing[at].count += numbers[at];
}

// Of either fact the values come in the order of an index, for both together the database would sort all.
std::vector<GroupCount> CodecsTake(TallyReader *tallies) {
    std::map<std::string, int64_t> counts;
    for (const char *fact : {"codec", "video_codec"})
        for (const GroupCount &one : CountsTake(
                 tallies, {kFactFolded, "file_fact f",
                           std::string("f.name = (select id from fact_name where name = '") + fact + "')", 0,
                           kFactFolded}))
            counts[one.name] += one.count;
    std::vector<GroupCount> codecs;
    for (const auto &[name, count] : counts)
        codecs.push_back({name, count});
    std::ranges::stable_sort(codecs, std::ranges::greater(), &GroupCount::count);
    return codecs;
}

} // namespace

bool StatsTake(CatalogueReader *reader, Stats *stats) {
    const int facts = FileTablesLook(reader);
    if (facts < 0)
        return false;
    stats->facts = facts == 1;
    TallyReader tallies = {reader};
    MomentBegin(&tallies);
    KindsTake(&tallies, stats);
    NamesTake(&tallies, stats);
    SongsTake(&tallies, stats);
    if (stats->facts) {
        NamedTake(&tallies, stats);
        stats->codecs = CodecsTake(&tallies);
        stats->added = InOrder(CountsTake(&tallies, {"substr(added, 1, 7)", "file_state"}));
    }
    MomentEnd(&tallies);
    return !tallies.failed;
}

ExitCode StatsCommand(const Options &options) {
    CatalogueReader reader;
    Stats stats;
    if (!StatsTake(&reader, &stats))
        return Complain(kUnreachable, reader.failure);
    options.json ? StatsPrint(stats) : StatsShow(stats);
    return kDone;
}
