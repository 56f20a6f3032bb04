// SPDX-License-Identifier: GPL-2.0-or-later
//
// ASF (Windows Media, recorded television): the header names each stream's kind.
#pragma once

#include "reader/content/format.h"
#include "reader/content/head.h"

// Looks at a file that begins with an ASF header.
ContentFormat AsfLook(const ContentHead &head);
