// SPDX-License-Identifier: GPL-2.0-or-later
//
// Sound without a container: frames one behind the other, each with a header that tells its length. One header may be
// anything; several in a row are no accident.
#pragma once

#include "reader/content/format.h"
#include "reader/content/head.h"

// Returns the format of the frames that the head begins with.
ContentFormat FramesLook(const ContentHead &head);

// Looks for MPEG audio or AAC behind up to kContentJunkMax bytes that are none.
ContentFormat FramesSearch(const ContentHead &head);
