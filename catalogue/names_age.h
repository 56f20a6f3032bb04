// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whether the names of a directory are still those that were read: requests about single files come in rows, and each asks for what
// lies beside its file.
#pragma once

#include <sys/stat.h>
#include <time.h>

#include <string>

struct NamesAge {
    struct stat status = {}; // of the directory, when its names were read
    time_t looked = 0;       // at that time; 0: never
};

// Looks at a directory. False when its names are to be read now, because others may be there by now.
[[nodiscard]] bool NamesHold(const std::string &directory, NamesAge *age);
