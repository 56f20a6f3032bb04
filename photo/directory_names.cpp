// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/directory_names.h"

#include <stdint.h>

#include "daemon/directory_names.h"
#include "daemon/directory_reader.h"

int PhotoShareNeedsStat = 0;

bool SubDirectoriesGet(const char *path, const NameRules &rules, std::vector<std::string> *names) {
    DirectoryReader reader = {.rules = &rules, .untold = PhotoShareNeedsStat != 0};
    std::vector<SubDirectory> found;
    if (!DirectoryOpen(&reader, path) || !SubDirectoriesRead(&reader, {}, SIZE_MAX, &found))
        return false;
    for (SubDirectory &directory : found)
        names->push_back(std::move(directory.name));
    return true;
}
