// SPDX-License-Identifier: GPL-2.0-or-later
//
// Streams that may begin anywhere: MPEG transport packets, and whatever is divided by start codes (program streams,
// MPEG video, H.264, H.265).
#pragma once

#include "reader/content/format.h"
#include "reader/content/head.h"

ContentFormat StreamLook(const ContentHead &head);
