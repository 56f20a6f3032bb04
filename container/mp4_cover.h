// SPDX-License-Identifier: GPL-2.0-or-later
//
// The cover picture of an MP4 file (item `covr`), written beside the catalogue.
#pragma once

#include "compat/mp4v2/mp4.h"

// Stores the first cover picture of an open file as the cover of `path`. Returns 1 when it was written, else
// 0. No picture, and one of too few bytes to be one, are no failures and not logged.
int Mp4CoverArtWrite(MP4FileHandle handle, const char *path);
