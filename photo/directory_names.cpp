// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/directory_names.h"

#include <errno.h>
#include <stdint.h>

#include "daemon/directory_names.h"
#include "daemon/directory_reader.h"

int PhotoShareNeedsStat = 0;

bool SubDirectoriesGet(const char *path, const NameRules &rules, std::vector<std::string> *names,
                       std::vector<std::string> *unseen) {
    DirectoryReader reader = {.rules = &rules, .untold = PhotoShareNeedsStat != 0};
    std::vector<SubDirectory> found;
    const bool read = DirectoryOpen(&reader, path) && SubDirectoriesRead(&reader, {}, SIZE_MAX, &found);
    for (SubDirectory &directory : found) {
        if (directory.error == 0 && !SubDirectoryIsMarked(reader, directory.name))
            names->push_back(std::move(directory.name));
        else if (directory.error != 0 && unseen != nullptr)
            unseen->push_back(std::move(directory.name));
    }
    errno = reader.error;
    return read;
}
