// SPDX-License-Identifier: GPL-2.0-or-later
//
// The dirty markers: what the media servers are told about at the end of a run.
#include "platform/veluindex.h"

namespace {

bool music_dirty = false;
bool video_dirty = false;

} // namespace

void VELUIndexMusicTableDirtySet(int flag) {
    music_dirty = flag != 0;
}

void VELUIndexVideoTableDirtySet(int flag) {
    video_dirty = flag != 0;
}

int BlVELUIndexIsMusicTableDirty() {
    return music_dirty ? 1 : 0;
}

int BlVELUIndexIsVideoTableDirty() {
    return video_dirty ? 1 : 0;
}
