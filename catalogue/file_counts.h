// SPDX-License-Identifier: GPL-2.0-or-later
//
// What became of the files of a run by the rules `complete`.
#pragma once

#include <stdint.h>

struct FileCounts {
    int64_t added = 0;     // had no row
    int64_t changed = 0;   // were read anew, or what lies beside them was
    int64_t unchanged = 0; // not opened
    int64_t troubled = 0;  // could not be read, now or before
};

// Returns where that is counted; whoever begins a run sets it to nothing.
FileCounts *FilesCounted();
