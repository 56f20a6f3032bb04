// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading Video CD data files (.dat), whose MPEG program stream (ISO/IEC 11172-1, 13818-1) is read by the
// system's own parser, for their indexer.
#pragma once

struct MediaInfo;

// Adds what a Video CD data file holds to a record (an IndexReader).
int VcdRead(const char *path, MediaInfo *record);
