// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files of which one would do.
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/veluctl/catalogue_reader.h"

// A name of a file.
struct CopyName {
    std::string path;
    double seconds = 0; // of playing time, by the catalogue
    uint64_t size = 0;  // this and what follows by the disk
    dev_t device = 0;
    ino_t inode = 0;
    int copy = 0; // from 1 on; hard links of one file share it, since removing one of them frees nothing
    uint64_t freed =
        0; // bytes, once all copies but the first are gone: those of a copy stand at its first name
};
using CopyGroup = std::vector<CopyName>;

// Looks at a file. Empty, or why it is none to compare.
std::string CopyLook(CopyName *name);

// Numbers the files of a group in the order of their names. Returns how many there are.
int CopiesNumber(CopyGroup *group);

// Groups that have been told, so that none is told again for another reason.
class CopiesTold {
public:
    void Add(const CopyGroup &group);

    // True when all names stand in one of them.
    [[nodiscard]] bool Has(const CopyGroup &group) const;

private:
    size_t groups_ = 0;
    std::map<std::string, size_t> group_of_;
};

// What is asked for, and who takes the answer.
struct CopySearch {
    CatalogueReader *reader;
    std::string directory; // only what it holds; empty: all
    // Takes a group of at least two copies, numbered. False: no more are wanted.
    std::function<bool(const CopyGroup &group)> take;
    // Is told of a file that has gone, has changed or cannot be read meanwhile, with the reason.
    std::function<void(const std::string &path, const std::string &why)> left_out;
    // Is told how far the reading of files has come, in bytes.
    std::function<void(uint64_t done, uint64_t all, const std::string &path)> reading;
    // Files that may be looked at, when sizes, begins and ends are to do; none: all of them, and all of their bytes.
    std::optional<size_t> glances = {};
    size_t passed = 0; // files that were not looked at, since there were more than that
    size_t named = 0;  // songs that are told by nothing but the names of their files
    size_t links = 0;  // names of files that have no copy, but further names
};
