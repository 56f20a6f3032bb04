// SPDX-License-Identifier: GPL-2.0-or-later
//
// The first entry of a sample description (`stsd`; ISO/IEC 14496-12, 8.5.2 and 12; QuickTime file format),
// whatever its name, and the elementary stream descriptor in it (ISO/IEC 14496-1, 7.2.6; 14496-14, 5.6).
#pragma once

#include "compat/mp4v2/track.h"

// Fills what the entry says of the track, whose handler is known. What the entry lacks is left as it is.
void SampleEntryRead(BoxFile *file, const Box &description, Mp4Track *track);
