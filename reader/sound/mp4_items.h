// SPDX-License-Identifier: GPL-2.0-or-later
//
// What MP4 files say of themselves: iTunes' items, the texts of 3GPP (TS 26.244) and QuickTime, Nero's chapters.
#pragma once

#include "reader/sound/mp4_box.h"
#include "reader/sound/sound_file.h"

void Mp4ItemsRead(BoxWalk *walk, const Box &moov, SoundFile *file);
