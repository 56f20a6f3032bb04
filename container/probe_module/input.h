// SPDX-License-Identifier: GPL-2.0-or-later
//
// Owners of libavformat's objects, and the media file as its input.
#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include "platform/handle.h"

#include <stdint.h>

#include <memory>

struct AvioFree {
    void operator()(AVIOContext *input) const noexcept {
        av_freep(&input->buffer); // libavformat may have put its own in the place of the first one
        avio_context_free(&input);
    }
};
using AvioHandle = std::unique_ptr<AVIOContext, AvioFree>;

struct FormatClose {
    void operator()(AVFormatContext *format) const noexcept { avformat_close_input(&format); }
};
using FormatHandle = std::unique_ptr<AVFormatContext, FormatClose>;

// A file that is open for reading. libavformat gets it as bytes, so that it needs to open nothing itself.
struct MediaInput {
    FdHandle fd;
    int64_t size = 0;
};

// Opens a regular file; without one, the descriptor is -1.
MediaInput MediaInputOpen(const char *path);

// Opens libavformat's view of the input, which has to outlive it. Null when memory is short.
AvioHandle AvioOpen(MediaInput *input);
