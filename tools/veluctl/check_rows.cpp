// SPDX-License-Identifier: GPL-2.0-or-later
//
// The rows of both catalogues by their paths, and those whose file is gone.
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>

#include "catalogue/features.h"
#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "platform/path.h"
#include "tools/queue/request_line.h"
#include "tools/queue/request_path.h"
#include "tools/veluctl/check.h"

namespace {

// What a reader has found shows in one of these.
constexpr const char *kMediaColumns[] = {"path",          "has_cover",   "duration",
                                         "audio_bitrate", "sample_rate", "width"};

bool Says(const Value &value) {
    return value && strtod(value->c_str(), nullptr) != 0;
}

CheckedRow CheckedRowOf(const CatalogueTable &table, const Row &row) {
    CheckedRow checked;
    checked.path = row[0].value_or("");
    checked.media = table.is_media;
    checked.directory = strcmp(table.table, "directory") == 0;
    checked.library = strcmp(table.table, "photo_image") == 0;
    if (table.is_media) {
        checked.cover = Says(row[1]);
        checked.read = std::any_of(row.begin() + 2, row.end(), Says);
    }
    return checked;
}

// Makes rows of one path one.
void RowsMerge(std::vector<CheckedRow> *rows) {
    std::stable_sort(rows->begin(), rows->end(),
                     [](const CheckedRow &one, const CheckedRow &other) { return one.path < other.path; });
    size_t kept = 0;
    for (size_t at = 0; at < rows->size(); ++at) {
        if (kept == 0 || (*rows)[kept - 1].path != (*rows)[at].path) {
            if (kept != at)
                (*rows)[kept] = std::move((*rows)[at]);
            ++kept;
            continue;
        }
        CheckedRow &into = (*rows)[kept - 1];
        const CheckedRow &from = (*rows)[at];
        into.media |= from.media;
        into.directory |= from.directory;
        into.library |= from.library;
        into.cover |= from.cover;
        into.read |= from.read;
    }
    rows->resize(kept);
}

bool IsMissing(const std::string &path) {
    struct stat status;
    return stat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

// The outermost directory of a missing path that is missing too.
std::string OutermostMissing(std::string path) {
    for (std::string parent = ParentOf(path); parent != "/" && IsMissing(parent); parent = ParentOf(parent))
        path = parent;
    return path;
}

// True at or below a place that the walk has found to be away, which has its line.
bool IsOnStorageAway(const std::vector<Finding> &findings, const std::string &path) {
    return std::ranges::any_of(findings, [&](const Finding &finding) {
        return finding.problem == kShareAway && PathIsAtOrUnder(path, finding.path);
    });
}

// Only sound and film: a picture without EXIF data has nothing to be read, nor has a playlist.
bool HasReader(const std::string &path) {
    const IndexHandler *handler = IndexHandlerOf(path.c_str());
    if (handler == nullptr)
        return false;
    const IndexRecipe &recipe = IndexRecipeOf(handler->indexer);
    return recipe.read != nullptr && (recipe.kind == kMediaMusic || recipe.kind == kMediaVideo);
}

} // namespace

std::string RepairLine(QueueCommand command, const std::string &path) {
    return RequestLineForm(command, path).line;
}

bool CheckedRowsLoad(CatalogueReader *reader, std::vector<CheckedRow> *rows) {
    for (const CatalogueTable &table : CatalogueTables()) {
        if (!table.keeps_paths)
            continue;
        const std::vector<const char *> columns =
            table.is_media ? std::vector<const char *>(std::begin(kMediaColumns), std::end(kMediaColumns))
                           : std::vector<const char *>{"path"};
        const bool read = CatalogueRowsRead(reader, table, columns, RowFilter(),
                                            [&](Row &row) { rows->push_back(CheckedRowOf(table, row)); });
        if (!read && (table.catalogue == Catalogue::media || supportphoto))
            return false;
    }
    RowsMerge(rows);
    return true;
}

bool CheckedRowsKnow(const std::vector<CheckedRow> &rows, const std::string &path, bool itself) {
    const auto has = [&](const std::string &from, bool (*wanted)(std::string_view, std::string_view)) {
        const auto found =
            std::ranges::lower_bound(rows, from, {}, [](const CheckedRow &row) { return row.path; });
        return found != rows.end() && wanted(found->path, path);
    };
    return has(path + '/', PathIsUnder) || (itself && has(path, PathIsAtOrUnder));
}

CheckedRow *CheckedRowFind(std::vector<CheckedRow> *rows, std::string_view path) {
    const auto found =
        std::lower_bound(rows->begin(), rows->end(), path,
                         [](const CheckedRow &row, std::string_view wanted) { return row.path < wanted; });
    return found != rows->end() && found->path == path ? &*found : nullptr;
}

void RowsCheck(const std::vector<CheckedRow> &rows, std::vector<Finding> *findings) {
    std::string away; // the share of the last row, when it was away
    for (const CheckedRow &row : rows) {
        if (row.seen || !IsMissing(row.path)) {
            if (row.damaged)
                findings->push_back({kDamaged, row.path, {}, {}});
            else if (row.media && !row.read && HasReader(row.path))
                findings->push_back({kNoMetadata, row.path, {}, {}});
            continue;
        }
        const std::string outermost = OutermostMissing(row.path);
        // A share or what holds shares: a volume that is not mounted, most likely, whose rows are better kept.
        if (IsOnStorageAway(*findings, outermost))
            continue;
        if (std::count(outermost.begin(), outermost.end(), '/') > kShareParts) {
            findings->push_back({kRowWithoutFile, row.path, RepairLine(kCommandTreeRemove, outermost), {}});
        } else if (outermost != away) {
            away = outermost;
            findings->push_back({kShareAway, outermost, {}, {}});
        }
    }
}
