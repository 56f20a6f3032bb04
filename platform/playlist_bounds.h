// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a playlist may cost. docs/limits.md lists these bounds with those of limits.h.
#pragma once

#include <stddef.h>
#include <stdint.h>

// Bytes of a playlist that are read, the entries that are kept, the bytes of their texts together, and of one: no path is longer. A
// whole library of music in one list has some ten thousand entries of a hundred bytes, and in elements, or in UTF-16,
// takes a few times that.
inline constexpr int64_t kPlaylistFileMax = int64_t{16} << 20;
inline constexpr size_t kPlaylistEntriesMax = 16384;
inline constexpr size_t kPlaylistTextMax = size_t{2} << 20;
inline constexpr size_t kPlaylistTargetMax = 4096;

// Files of one folded name that an entry is looked for among. Rips without titles leave some thousand "track01.mp3".
inline constexpr size_t kPlaylistFilesMax = 16384;
