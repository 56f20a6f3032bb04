// SPDX-License-Identifier: GPL-2.0-or-later
//
// Opening a media file with libavformat, and nothing else beside it.
#pragma once

#include "container/probe_module/input.h"

// Opens the input as one of the formats that are media by themselves. `path` only helps to tell formats apart
// by the extension. Null when the input is none of them.
FormatHandle FormatOpen(const char *path, AVIOContext *avio);
