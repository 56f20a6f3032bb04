// SPDX-License-Identifier: GPL-2.0-or-later
//
// The tags that stand before and behind the sound of a file of any format, and where the sound is: ID3v2, APEv2, Lyrics3, ID3v1.
#pragma once

#include "reader/sound/sound_file.h"

struct SoundBounds {
    int64_t begin = 0; // of the sound
    int64_t end = 0;
    int64_t id3v2 = -1; // where the tag begins; -1: there is none
    int64_t ape = -1;   // the footer
    int64_t id3v1 = -1;
};

// Which of ID3v2 and APEv2 counts where both give a value.
enum class EndTagOrder { kId3First, kApeFirst };

SoundBounds SoundBoundsFind(ReaderInput *input);

void EndTagsRead(SoundFile *file, const SoundBounds &bounds, EndTagOrder order);

// Reads the ID3v2 tag at an offset.
void Id3v2FactsRead(SoundFile *file, int64_t offset);
