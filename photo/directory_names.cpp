// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/directory_names.h"

#include <errno.h>
#include <stdint.h>

#include <set>

#include "daemon/walk_rules.h"
#include "platform/handle.h"
#include "platform/velusdk.h"

int PhotoShareNeedsStat = 0;

namespace {

bool IsDirectory(const char *parent, const std::string &name, const dirent &entry) {
    if (!PhotoShareNeedsStat && entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN)
        return entry.d_type == DT_DIR;
    return IsDirExist((std::string(parent) + '/' + name).c_str());
}

} // namespace

bool DirectoryNamesGet(const char *path, const NameFilter &wanted, std::vector<std::string> *names,
                       const std::string &after, size_t most) {
    const DirHandle directory(opendir(path));
    if (directory == nullptr)
        return false;
    std::set<std::string> sorted;
    errno = 0;
    while (const dirent *entry = readdir(directory.get())) {
        const std::string name = entry->d_name;
        if (IsNameLeftOut(ActiveWalkRules().library, name) || name <= after || !wanted(name, *entry))
            continue;
        sorted.insert(name);
        if (sorted.size() > most)
            sorted.erase(std::prev(sorted.end()));
        errno = 0; // that the filter may have set
    }
    if (errno != 0)
        return false;
    names->assign(sorted.begin(), sorted.end());
    return true;
}

bool SubDirectoriesGet(const char *path, const NameRules &rules, std::vector<std::string> *names,
                       const std::string &after, size_t most) {
    const auto wanted = [&](const std::string &name, const dirent &entry) {
        return !IsDirectoryNameLeftOut(rules, name) && IsDirectory(path, name, entry);
    };
    return DirectoryNamesGet(path, wanted, names, after, most);
}
