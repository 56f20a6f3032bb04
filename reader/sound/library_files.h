// SPDX-License-Identifier: GPL-2.0-or-later
//
// What TagLib reads for us, and what it does not say of the same files.
#pragma once

#include "reader/content/content.h"
#include "reader/sound/sound_file.h"

void FlacRead(SoundFile *file);
void OggRead(SoundFile *file, ContentFormat format);
void AsfRead(SoundFile *file);
// Monkey's Audio, WavPack, Musepack, True Audio.
void ApeFamilyRead(SoundFile *file, ContentFormat format);
