// SPDX-License-Identifier: GPL-2.0-or-later
//
// One `trak` box (ISO/IEC 14496-12, 8.3).
#pragma once

#include "compat/mp4v2/track.h"

// False when a header or sample table is missing. Where the file ends inside the track, missing tables are
// forgiven.
[[nodiscard]] bool Mp4TrackRead(BoxFile *file, const Box &trak, Mp4Track *track);
