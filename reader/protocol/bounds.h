// SPDX-License-Identifier: GPL-2.0-or-later
//
// What one answer of a reader holds at most.
#pragma once

#include <stddef.h>
#include <stdint.h>

// The facts of a file (an album's worth of artists, a film's chapters), the bytes of their texts together, and of one.
inline constexpr size_t kReaderFactsMax = 256;
inline constexpr size_t kReaderTextMax = 65536;
inline constexpr size_t kReaderValueMax = 4096;
inline constexpr size_t kReaderReasonMax = 256;

// A picture above this is no cover: scans at print resolution stay below it.
inline constexpr uint32_t kReaderPictureMax = uint32_t{32} << 20;

// Files that one reader has been handed and has not answered yet, with a place for a picture each.
inline constexpr int kReaderSlots = 4;
