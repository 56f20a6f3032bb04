// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files of boxes (ISO/IEC 14496-12): MP4, QuickTime, 3GPP, HEIF, AVIF, Canon's CR3. What they are is told by their brand
// or, since a brand says nothing of sound or film, by their tracks.
#pragma once

#include "reader/content/format.h"
#include "reader/content/head.h"

// Looks at a file that begins with a box.
ContentFormat BoxesLook(const ContentHead &head);
