// SPDX-License-Identifier: GPL-2.0-or-later
//
// AAC in ADTS frames (ISO/IEC 13818-7, 6.2), with ID3 or APEv2 tags around them.
#pragma once

#include "reader/sound/sound_file.h"

void AdtsRead(SoundFile *file);
