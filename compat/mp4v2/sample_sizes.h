// SPDX-License-Identifier: GPL-2.0-or-later
//
// The sample sizes of a track (`stsz`, `stz2`; ISO/IEC 14496-12, 8.7.3), added up block by block: a table of
// millions of entries takes no more memory than one of ten.
#pragma once

#include <stdint.h>

#include "compat/mp4v2/track.h"

// Returns the bytes of all samples; 0 when the table is missing, damaged or larger than a table can honestly
// be.
uint64_t SampleSizesSum(BoxFile *file, const Mp4Track &track);
