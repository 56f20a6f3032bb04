// SPDX-License-Identifier: GPL-2.0-or-later
//
// Mp4Movie: what stands behind a handle: the open file, its tracks, and where its tags are.
#pragma once

#include <vector>

#include "compat/mp4v2/item_list.h"
#include "compat/mp4v2/mp4.h"
#include "compat/mp4v2/track.h"

struct Mp4Movie {
    BoxFile file;
    std::vector<Mp4Track> tracks; // in file order
    ItemList items;
};

// Returns the movie of a handle; null for no handle.
inline Mp4Movie *MovieOf(MP4FileHandle handle) {
    return static_cast<Mp4Movie *>(handle);
}
