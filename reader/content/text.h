// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files that are text: playlists and SVG.
#pragma once

#include "reader/content/format.h"
#include "reader/content/head.h"

ContentFormat TextLook(const ContentHead &head);
