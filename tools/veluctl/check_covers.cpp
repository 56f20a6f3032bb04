// SPDX-License-Identifier: GPL-2.0-or-later
//
// The cover pictures against the rows that they belong to.
#include <sys/stat.h>
#include <time.h>

#include <algorithm>

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

struct KeptFolder {
    std::string path;
    const CheckedRow *row; // null: of none
};

// In the order of their paths.
std::vector<KeptFolder> KeptFolders() {
    std::vector<KeptFolder> folders;
    char base[kMediaPathSize];
    if (VELUIndexCoverDirGet(base, sizeof base) != 0)
        return folders;
    for (const std::string &group : NamesIn(base)) {
        const std::string group_path = std::string(base) + '/' + group;
        for (const std::string &hash : NamesIn(group_path))
            folders.push_back({group_path + '/' + hash, nullptr});
    }
    std::sort(folders.begin(), folders.end(),
              [](const KeptFolder &one, const KeptFolder &other) { return one.path < other.path; });
    return folders;
}

void RowPut(std::vector<KeptFolder> *folders, const CheckedRow &row) {
    const std::string path = FolderOf(row.path);
    const auto found = std::lower_bound(
        folders->begin(), folders->end(), path,
        [](const KeptFolder &folder, const std::string &wanted) { return folder.path < wanted; });
    if (found != folders->end() && found->path == path)
        found->row = &row;
}

} // namespace

void CoversCheck(const std::vector<CheckedRow> &rows, std::vector<Finding> *findings) {
    // Most rows have no cover: what is remembered are the folders that are there.
    std::vector<KeptFolder> folders = KeptFolders();
    for (const CheckedRow &row : rows) {
        if (!row.media)
            continue;
        RowPut(&folders, row);
        // A row whose file is gone goes with what covers it has.
        if (row.seen && row.cover && CoversOf(row.path).empty())
            findings->push_back({kStaleCover, row.path, RepairLine(kCommandFileAdd, row.path), {}});
    }
    for (const auto &[folder, row] : folders) {
        if (row == nullptr) {
            if (IsOld(folder))
                findings->push_back({kStaleCover, folder, {}, folder});
        } else if (row->seen && !row->cover && IsOld(folder)) {
            findings->push_back({kStaleCover, row->path, RepairLine(kCommandFileAdd, row->path), {}});
        }
    }
}
