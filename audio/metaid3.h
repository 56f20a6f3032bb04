// SPDX-License-Identifier: GPL-2.0-or-later
//
// The MP3 reader: tags, stream properties and cover of one file.
#pragma once

#include "platform/media_record.h"

// Fills the record of the MP3 file `path`: duration, bit rate, sample rate, channels, text, numbers and
// has_cover. Replaces the file's cover pictures. Returns 0; or -1 (logged) with the record untouched and no
// cover left when the file cannot be read or has no two MPEG audio frames in a row.
int Mp3InfoGet(const char *path, MediaInfo *record);
