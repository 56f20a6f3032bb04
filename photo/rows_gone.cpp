// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/rows_gone.h"

#include <errno.h>
#include <sys/stat.h>
#include <syslog.h>

#include <algorithm>

#include "daemon/storage_away.h"
#include "daemon/walk_reindex.h"
#include "photo/photo_known.h"
#include "photo/photo_rows.h"
#include "photo/sql_text.h"
#include "platform/path.h"

namespace {

constexpr char kLogName[] = "photo_index.c";

constexpr size_t kConditionRoom = 32; // beside the path

} // namespace

bool PathIsGone(const char *path) {
    // With a slash behind it nothing but a directory would be found.
    const std::string place(PathOfDirectory(path));
    struct stat status;
    return stat(place.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

bool RowsGoneGet(Catalogue catalogue, int table, const char *directory, std::vector<std::string> *paths,
                 const std::function<bool(const char *)> &as_gone) {
    SqlName name;
    if (!SqlNameEscape(directory, &name, kLogName))
        return false;
    const std::string condition =
        SqlFormat(name.pattern.size() + kConditionRoom, "path like '%s/%%'", name.pattern.c_str());
    const auto open = catalogue == Catalogue::media ? MediaInfoDBOpen : PhotoInfoDBOpen;
    const std::vector<std::string> away =
        StorageAwayIn(directory, catalogue == Catalogue::media ? MediaKnows : PhotoKnows);
    const auto is_away = [&](const std::string &path) {
        return std::ranges::any_of(away,
                                   [&](const std::string &place) { return PathIsAtOrUnder(path, place); });
    };
    const PhotoRows rows(open(table, "path", condition.c_str(), "path asc", 0));
    if (rows == nullptr) {
        syslog(LOG_ERR, "%s (%d) Error occurred, failed to get records.", kLogName, __LINE__);
        return false;
    }
    const auto is_gone = [&](const char *path) {
        return PathIsGone(path) ? !is_away(path) : as_gone != nullptr && as_gone(path);
    };
    const VELUDBResult *result = VELUIndexRowsResult(rows.get());
    for (int row = -1; VELUDBFetchRow(result, &row) == 0;)
        if (const char *path = VELUDBFetchField(result, row, "path"); path != nullptr && is_gone(path))
            paths->emplace_back(path);
    return true;
}
