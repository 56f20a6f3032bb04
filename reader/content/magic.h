// SPDX-License-Identifier: GPL-2.0-or-later
//
// Formats that are known by fixed bytes at fixed places: one table.
#pragma once

#include "reader/content/format.h"
#include "reader/content/head.h"

// Returns the format whose bytes the head begins with; containers are looked into. `unknown` when there is none.
ContentFormat MagicLook(const ContentHead &head);
