// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a file is, by its first bytes and, where a container may hold sound or films, by its tracks. The name's extension
// decides only where the bytes leave it open: Targa, MPEG audio behind junk, playlists that are mere lines.
#pragma once

#include "reader/content/format.h"
#include "reader/input.h"

// Looks at a file: one read of its begin for most, a few more for containers, never beyond the bounds of limits.h.
ContentFormat ContentLook(ReaderInput *input);
