// SPDX-License-Identifier: GPL-2.0-or-later
//
// MP4 files in fragments (ISO/IEC 14496-12, 8.8): the samples are told of beside the sound, not at the front.
#pragma once

#include "reader/sound/mp4_track.h"

// Adds the samples of a track that the fragments behind `moov` tell of to its duration and bytes.
void Mp4FragmentsAdd(BoxWalk *walk, const Box &moov, Mp4Track *track);
