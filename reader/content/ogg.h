// SPDX-License-Identifier: GPL-2.0-or-later
//
// Ogg (RFC 3533): the first pages each begin a stream and tell its coding.
#pragma once

#include "reader/content/format.h"
#include "reader/content/head.h"

// Looks at a file that begins with an Ogg page.
ContentFormat OggLook(const ContentHead &head);
