// SPDX-License-Identifier: GPL-2.0-or-later
//
// The track of an MP4 file that holds its sound.
#pragma once

#include "reader/sound/mp4_box.h"
#include "reader/sound/sound_file.h"

struct Mp4Track {
    uint64_t id = 0;
    uint64_t timescale = 0; // of the duration, a second
    uint64_t duration = 0;  // of the media
    uint64_t edited = 0;    // what the edit list leaves of it, in the movie's timescale; 0: all
    uint64_t bytes = 0;     // of the samples
    SoundStream stream;
};

// Reads a track; nothing when it is no sound.
std::optional<Mp4Track> Mp4SoundTrackRead(BoxWalk *walk, const Box &trak);
