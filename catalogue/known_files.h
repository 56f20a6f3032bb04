// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the catalogue knows of the files that a walk meets, a directory at once, because others of it will follow.
#pragma once

#include <stdint.h>

#include <list>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/index/file_state.h"

struct KnownFile {
    bool may_have_row = true; // false: no table has one
    bool unchanged = false;   // since it was read, and it has a row
    bool neighbours = false;  // have changed that give values to it, and nothing else has
    std::string stamp = {};   // of one that has changed, where it was looked up
    std::string trouble = {}; // why it is not to be tried; empty: it is
};

// The directories that were asked about last. What is written meanwhile does not show: a walk comes to each file once, and
// forgets all of it at its end.
struct KnownFiles {
    struct Directory {
        std::string path;
        std::vector<uint32_t> names = {}; // hashes of those with a row, in order
        std::vector<uint64_t> stamps =
            {};            // of those without trouble, by which they count as unchanged, likewise
        bool whole = true; // there are no others
    };
    std::list<Directory> directories = {}; // the last one first
};

// Returns what is known of a file whose stamp would be one of these by now. Without `ahead` it is asked about alone.
KnownFile FileKnown(KnownFiles *known, const std::string &path, std::span<const std::string> stamps,
                    bool ahead);

// False when no table has a row of a file in a directory that is asked about as a whole.
[[nodiscard]] bool FileMayHaveRow(KnownFiles *known, const std::string &path);
