// SPDX-License-Identifier: GPL-2.0-or-later
//
// The cover pictures against the rows that they belong to.
#include <sys/stat.h>
#include <time.h>

#include <unordered_map>

#include "platform/handle.h"
#include "platform/media_record.h"
#include "platform/veluindex.h"
#include "tools/veluctl/check.h"
#include "tools/veluctl/covers.h"

namespace {

// The daemon writes a cover before the row that it belongs to: what is younger may belong to the run that
// goes on.
constexpr time_t kYoung = 3600;

std::vector<std::string> NamesIn(const std::string &folder) {
    std::vector<std::string> names;
    const DirHandle entries(opendir(folder.c_str()));
    while (const dirent *entry = entries ? readdir(entries.get()) : nullptr) {
        if (entry->d_name[0] != '.')
            names.emplace_back(entry->d_name);
    }
    return names;
}

bool IsOld(const std::string &path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           time(nullptr) - status.st_mtime >= kYoung;
}

std::string FolderOf(const std::string &path) {
    char folder[kMediaPathSize];
    return GetCoverFolder(path.c_str(), folder, sizeof folder) != 0 ? folder : std::string();
}

} // namespace

void CoversCheck(const std::vector<CheckedRow> &rows, std::vector<Finding> *findings) {
    std::unordered_map<std::string, const CheckedRow *> by_folder;
    for (const CheckedRow &row : rows) {
        if (!row.media)
            continue;
        const std::string folder = FolderOf(row.path);
        by_folder[folder] = &row;
        // A row whose file is gone goes with what covers it has.
        if (row.seen && row.cover && CoversOf(row.path).empty())
            findings->push_back({kStaleCover, row.path, RepairLine('a', row.path), {}});
    }
    char base[kMediaPathSize];
    if (VELUIndexCoverDirGet(base, sizeof base) != 0)
        return;
    for (const std::string &group : NamesIn(base)) {
        for (const std::string &hash : NamesIn(std::string(base) + '/' + group)) {
            const std::string folder = std::string(base) + '/' + group + '/' + hash;
            const auto row = by_folder.find(folder);
            if (row == by_folder.end()) {
                if (IsOld(folder))
                    findings->push_back({kStaleCover, folder, {}, folder});
            } else if (row->second->seen && !row->second->cover && IsOld(folder)) {
                findings->push_back({kStaleCover, row->second->path, RepairLine('a', row->second->path), {}});
            }
        }
    }
}
