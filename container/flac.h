// SPDX-License-Identifier: GPL-2.0-or-later
//
// Indexer of FLAC files (RFC 9639: STREAMINFO and Vorbis comments).
#pragma once

// Returns 0 when the file was handed to the store, 1 when that happened without its metadata, else -1.
int FlacFileIndex(const char *path);
