// SPDX-License-Identifier: GPL-2.0-or-later
//
// MP4 and its kin (M4A, M4B, 3GP, MOV) that hold sound alone.
#pragma once

#include "reader/sound/sound_file.h"

void Mp4Read(SoundFile *file);
