// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/paths_behind.h"

#include <algorithm>

#include "tools/veluctl/overview/query_rows.h"

OpenList PathsTake(TallyReader *tallies, const std::string &summary, int64_t in_all,
                   const FilesBehind &files) {
    constexpr Column kColumns[] = {{"path", "", Type::path}};
    OpenList list = {summary, in_all, files.command};
    if (in_all == 0 || tallies->failed)
        return list;
    // Some of them, in whatever order the database comes to them: the first by their paths would have it sort all.
    SqlText query;
    query.Add("select path from " + files.table + " where " + files.condition);
    LimitPut(&query, kPathsShown);
    tallies->failed = !QueryRowsTake(tallies->reader, query, kColumns, [&](const Row &row) {
        list.entries.push_back({row.front().value_or("")});
    });
    std::ranges::sort(list.entries, {}, &OpenListEntry::name);
    return list;
}
