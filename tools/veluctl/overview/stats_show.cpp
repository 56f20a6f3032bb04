// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl stats: showing the numbers.
#include <stdio.h>

#include <nlohmann/json.hpp>

#include "tools/veluctl/json_text.h"
#include "tools/veluctl/overview/stats.h"

namespace {

constexpr size_t kFormatsShown = 6; // of a kind; few libraries have more that matter
constexpr size_t kMonthsShown = 12;

std::string Number(int64_t number) {
    return std::to_string(number);
}

std::string Real(double number) {
    char text[64];
    snprintf(text, sizeof text, "%.0f", number);
    return text;
}

void KindsShow(const Stats &stats) {
    constexpr Column kColumns[] = {{"files", "FILES", Type::integer},
                                   {"time", "TIME", Type::seconds},
                                   {"size", "SIZE", Type::bytes},
                                   {"kind", "KIND", Type::text}};
    RowWriter writer(Form::table, kColumns, stdout);
    Group all;
    for (const StatsKind &kind : stats.kinds) {
        writer.Add({Number(kind.total.files), Real(kind.total.seconds), Real(kind.total.bytes), kind.kind});
        all.files += kind.total.files;
        all.seconds += kind.total.seconds;
        all.bytes += kind.total.bytes;
    }
    writer.Add({Number(all.files), Real(all.seconds), Real(all.bytes),
                "all, in " + Number(stats.directories) + " directories"});
    writer.End();
}

void FormatsShow(const Stats &stats) {
    constexpr Column kColumns[] = {{"files", "FILES", Type::integer},
                                   {"size", "SIZE", Type::bytes},
                                   {"kind", "KIND", Type::text},
                                   {"format", "FORMAT", Type::text}};
    RowWriter writer(Form::table, kColumns, stdout);
    for (const StatsKind &kind : stats.kinds) {
        // One more is no longer than saying so.
        const size_t shown = kind.formats.size() <= kFormatsShown + 1 ? kind.formats.size() : kFormatsShown;
        Group others;
        for (size_t at = 0; at < kind.formats.size(); ++at) {
            const Group &format = kind.formats[at];
            if (at < shown) {
                writer.Add({Number(format.files), Real(format.bytes), kind.kind, format.name});
                continue;
            }
            others.files += format.files;
            others.bytes += format.bytes;
        }
        if (others.files > 0)
            writer.Add({Number(others.files), Real(others.bytes), kind.kind,
                        Number(static_cast<int64_t>(kind.formats.size() - shown)) + " others"});
    }
    printf("\n");
    writer.End();
}

// The last of them, where there are more.
void CountsShow(const char *heading, const std::vector<GroupCount> &counts, size_t most) {
    const Column columns[] = {{"files", "FILES", Type::integer}, {"name", heading, Type::text}};
    RowWriter writer(Form::table, columns, stdout);
    for (size_t at = counts.size() > most ? counts.size() - most : 0; at < counts.size(); ++at)
        writer.Add({Number(counts[at].count), counts[at].name});
    if (writer.count() == 0)
        return;
    printf("\n");
    writer.End();
}

Json CountsJson(const std::vector<GroupCount> &counts, const char *name) {
    Json all = Json::array();
    for (const GroupCount &count : counts) {
        Json one = Json::object();
        JsonTextPut(&one, name, count.name);
        one["files"] = count.count;
        all.push_back(one);
    }
    return all;
}

Json GroupJson(const Group &group) {
    Json one = Json::object();
    one["files"] = group.files;
    one["seconds"] = group.seconds;
    one["bytes"] = static_cast<int64_t>(group.bytes);
    return one;
}

} // namespace

void StatsShow(const Stats &stats) {
    KindsShow(stats);
    printf("\n%lld artists, %lld album titles, %lld genres\n", static_cast<long long>(stats.artists),
           static_cast<long long>(stats.albums), static_cast<long long>(stats.genres));
    FormatsShow(stats);
    CountsShow("CODEC", stats.codecs, SIZE_MAX);
    CountsShow("DECADE", stats.decades, SIZE_MAX);
    CountsShow("WITHOUT", stats.missing, SIZE_MAX);
    CountsShow("ADDED IN", stats.added, kMonthsShown);
    if (!stats.facts)
        printf("\nBy the rules complete it would also be known which codecs there are, which\n"
               "titles and albums are names of files, and when files were added.\n");
}

void StatsPrint(const Stats &stats) {
    Json json = Json::object();
    json["kinds"] = Json::object();
    for (const StatsKind &kind : stats.kinds) {
        Json one = GroupJson(kind.total);
        one["formats"] = Json::array();
        for (const Group &format : kind.formats) {
            Json part = Json::object();
            JsonTextPut(&part, "format", format.name);
            part.update(GroupJson(format));
            one["formats"].push_back(part);
        }
        json["kinds"][kind.kind] = one;
    }
    json["directories"] = stats.directories;
    json["artists"] = stats.artists;
    json["albums"] = stats.albums;
    json["genres"] = stats.genres;
    json["codecs"] = stats.facts ? CountsJson(stats.codecs, "codec") : Json();
    json["decades"] = CountsJson(stats.decades, "decade");
    json["missing"] = CountsJson(stats.missing, "tag");
    json["added"] = stats.facts ? CountsJson(stats.added, "month") : Json();
    JsonPrint(json, stdout);
}
