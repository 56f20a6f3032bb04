// SPDX-License-Identifier: GPL-2.0-or-later
//
// APEv2 (and 1) tags at the end of a file.
#pragma once

#include "reader/sound/sound_file.h"
#include "reader/syntax/cursor.h"

inline constexpr size_t kApeFooterSize = 32;

// Returns the bytes of the tag whose footer this is, header and footer included; 0 when it is none.
int64_t ApeTagSize(Bytes footer);

// Reads the tag with a footer at an offset.
void ApeTagRead(SoundFile *file, int64_t footer);
