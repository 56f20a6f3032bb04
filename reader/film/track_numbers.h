// SPDX-License-Identifier: GPL-2.0-or-later
//
// Numbers of tracks that libavformat cannot bear: it takes them for signed ones (5.1) and that of a track without a header for -1,
// gives its index of fragments up where one is below 0, and then counts through half of all numbers for each run of samples,
// which is a second each.
#pragma once

#include "reader/input.h"

// Returns what is wrong with the tracks of such a file, or null.
const char *TrackNumberFault(ReaderInput *input);
