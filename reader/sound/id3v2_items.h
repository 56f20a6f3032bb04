// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the frames of an ID3v2 tag say.
#pragma once

#include "reader/sound/id3v2.h"
#include "reader/sound/sound_file.h"

void Id3v2FactsAdd(const Id3Tag &tag, SoundFile *file);
