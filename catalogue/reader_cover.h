// SPDX-License-Identifier: GPL-2.0-or-later
//
// The cover that a reader has found in a media file.
#pragma once

#include "reader/pool/reader_pool.h"

// Stores the picture as the cover of the media file at `path`, as it is. Returns whether the file has a cover now; formats that
// the catalogue does not keep are none.
bool ReaderCoverSave(const ReadResult &read, const char *path);
