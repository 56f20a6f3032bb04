// SPDX-License-Identifier: GPL-2.0-or-later
//
// ID3v1 and 1.1: the last 128 bytes of a file.
#pragma once

#include "reader/sound/sound_file.h"

inline constexpr int64_t kId3v1Size = 128;

void Id3v1Read(SoundFile *file, int64_t offset);
