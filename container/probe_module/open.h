// SPDX-License-Identifier: GPL-2.0-or-later
//
// Opening a media file with libavformat, and nothing else beside it.
#pragma once

#include "container/probe_module/input.h"

// Opens the input as whatever format it has, unless that only names other content. `path` only helps to tell formats apart
// by the extension. Null when the input is of no format that is let in.
FormatHandle FormatOpen(const char *path, AVIOContext *avio);
