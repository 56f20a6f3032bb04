// SPDX-License-Identifier: GPL-2.0-or-later
//
// Opening a media file with libavformat, and nothing else beside it.
#pragma once

#include "container/probe_module/handles.h"

// How libavformat looks at one file. Where a bound is 0, the library's own holds.
struct FormatManner {
    int64_t probe_bytes = 0; // looked at in search of the streams' parameters
    int streams = 0;
    bool all_programs = false; // of a broadcast, whatever comes first; as ffprobe does
};

// Opens the input as whatever format it has, unless that only names other content. `path` only helps to tell formats apart
// by the extension. Null when the input is of no format that is let in; then `*error`, where it is wanted, is libavformat's
// own.
FormatHandle FormatOpen(const char *path, AVIOContext *avio, const FormatManner &manner = {},
                        int *error = nullptr);
