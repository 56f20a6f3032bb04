// SPDX-License-Identifier: GPL-2.0-or-later
//
// WAV: RIFF, and RF64 and BW64 (EBU Tech 3306, ITU-R BS.2088) for files beyond four gigabytes.
#pragma once

#include "reader/sound/sound_file.h"

void WavRead(SoundFile *file);
