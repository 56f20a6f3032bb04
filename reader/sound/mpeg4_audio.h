// SPDX-License-Identifier: GPL-2.0-or-later
//
// The configuration of MPEG-4 audio (ISO/IEC 14496-3, 1.6.2.1).
#pragma once

#include "reader/sound/sound_file.h"
#include "reader/syntax/cursor.h"

// Sets the rate and the channels that are heard: with spectral band replication and parametric stereo.
void Mpeg4AudioConfig(Bytes config, SoundStream *stream);
