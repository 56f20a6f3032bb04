// SPDX-License-Identifier: GPL-2.0-or-later
//
// Every reader of the daemon, to be tried on a file one by one.
#pragma once

#include <span>
#include <string>

#include "tools/veluctl/record_print.h"

// The kinds of files that a reader is for, as a bit mask.
enum FileKinds : unsigned { kAudioFiles = 1, kVideoFiles = 2, kPictureFiles = 4, kAllFiles = 7 };

struct Reader {
    const char *name;
    unsigned kinds;
    // True when it could read the file; the fields that it found are in the part either way.
    bool (*read)(const char *name, const char *path, RecordPart *part);
};

std::span<const Reader> Readers();

// Returns the kinds of files with that extension (null: none), or all kinds when nothing is known of it.
unsigned ReaderKindsOf(const char *extension);
