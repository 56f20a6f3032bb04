// SPDX-License-Identifier: GPL-2.0-or-later
//
// Sound of one bit a sample: DSF (Sony) and DSDIFF (Philips). Their rate is that of the bits.
#pragma once

#include "reader/sound/sound_file.h"

void DsfRead(SoundFile *file);
void DsdiffRead(SoundFile *file);
