// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the sample description of an MP4 track tells of its sound.
#pragma once

#include "reader/sound/sound_file.h"
#include "reader/syntax/cursor.h"

// `description` is what is in the box "stsd".
void Mp4CodecRead(Bytes description, SoundStream *stream);
