// SPDX-License-Identifier: GPL-2.0-or-later
//
// The dirty markers: what the media servers are told about at the end of a run.
#include "platform/index/run_state.h"
#include "platform/veluindex.h"

void VELUIndexMusicTableDirtySet(int flag) {
    run_state.music_dirty = flag != 0;
}

void VELUIndexVideoTableDirtySet(int flag) {
    run_state.video_dirty = flag != 0;
}

int BlVELUIndexIsMusicTableDirty() {
    return run_state.music_dirty ? 1 : 0;
}

int BlVELUIndexIsVideoTableDirty() {
    return run_state.video_dirty ? 1 : 0;
}
