// SPDX-License-Identifier: GPL-2.0-or-later
//
// Owners of libavformat's objects.
#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

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
