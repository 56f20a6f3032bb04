// SPDX-License-Identifier: GPL-2.0-or-later
//
// AIFF and AIFC.
#pragma once

#include "reader/sound/sound_file.h"

void AiffRead(SoundFile *file);
