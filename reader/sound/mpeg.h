// SPDX-License-Identifier: GPL-2.0-or-later
//
// MPEG audio: the stream between the tags of a file, by its Xing, Info or VBRI header, else by its frames.
#pragma once

#include "reader/sound/sound_file.h"

// `begin` and `end` are those of the sound. Returns false when there is none.
bool MpegStreamRead(ReaderInput *input, int64_t begin, int64_t end, SoundStream *stream);

void MpegRead(SoundFile *file);
