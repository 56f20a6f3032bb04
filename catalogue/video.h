// SPDX-License-Identifier: GPL-2.0-or-later
//
// Indexer of Video CD data files (.dat), whose MPEG program stream (ISO/IEC 11172-1, 13818-1) is read by the
// system's own parser.
#pragma once

// Returns 0 when the row was saved, 1 when it was saved although the stream could not be read, -1 when
// nothing was saved.
int VcdFileIndex(const char *path);

// Returns 0 or -1; the row of a file that still exists stays.
int VcdFileRemove(const char *path);
