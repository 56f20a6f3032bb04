// SPDX-License-Identifier: GPL-2.0-or-later
//
// The media file as libavformat's input.
#pragma once

#include "container/probe_module/handles.h"
#include "platform/handle.h"

#include <stdint.h>

// A file that is open for reading. libavformat gets it as bytes, so that it needs to open nothing itself.
struct MediaInput {
    FdHandle fd;
    int64_t size = 0;
};

// Opens a regular file; without one, the descriptor is -1.
MediaInput MediaInputOpen(const char *path);

// Opens libavformat's view of the input, which has to outlive it. Null when memory is short.
AvioHandle AvioOpen(MediaInput *input);
