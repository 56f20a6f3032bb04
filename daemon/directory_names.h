// SPDX-License-Identifier: GPL-2.0-or-later
//
// Names in a directory, sorted. Each goes through an open directory to its end.
#pragma once

#include <stddef.h>

#include <string>
#include <vector>

#include "daemon/directory_reader.h"

// Reads every name for which `wanted` is true, sorted. False when the listing broke off.
[[nodiscard]] bool NamesRead(DirectoryReader *reader, bool (*wanted)(const char *name),
                             std::vector<std::string> *names);

struct SubDirectory {
    std::string name;
    bool by_link;
    int error; // it could not be looked at, and may be one; 0: it is one
};

// Reads a portion of the sub-directories that the rules do not leave out, sorted: those behind the name
// `after`, the first `most` of them. False when the listing broke off.
[[nodiscard]] bool SubDirectoriesRead(DirectoryReader *reader, const std::string &after, size_t most,
                                      std::vector<SubDirectory> *found);
