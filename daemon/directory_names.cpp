// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/directory_names.h"

#include <iterator>
#include <map>
#include <set>
#include <utility>

bool NamesRead(DirectoryReader *reader, bool (*wanted)(const char *name), std::vector<std::string> *names) {
    std::set<std::string> sorted;
    while (const dirent *entry = DirectoryNext(reader)) {
        if (wanted(entry->d_name))
            sorted.insert(entry->d_name);
    }
    names->assign(sorted.begin(), sorted.end());
    return reader->error == 0;
}

bool SubDirectoriesRead(DirectoryReader *reader, const std::string &after, size_t most,
                        std::vector<SubDirectory> *found) {
    std::map<std::string, SubDirectory> sorted;
    while (const dirent *entry = DirectoryNext(reader)) {
        const std::string name = entry->d_name;
        if (name <= after || IsDirectoryNameLeftOut(*reader->rules, name))
            continue;
        const EntryKind kind = EntryKindGet(reader, *entry);
        if (kind != EntryKind::directory && kind != EntryKind::linked_directory && reader->missed == 0)
            continue;
        sorted.emplace(name, SubDirectory{name, kind == EntryKind::linked_directory, reader->missed});
        if (sorted.size() > most)
            sorted.erase(std::prev(sorted.end()));
    }
    found->clear();
    for (auto &[name, directory] : sorted)
        found->push_back(std::move(directory));
    return reader->error == 0;
}
