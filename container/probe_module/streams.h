// SPDX-License-Identifier: GPL-2.0-or-later
//
// The parameters of a media file's streams, as far as the catalogue keeps them.
#pragma once

#include "platform/media_record.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

struct StreamsSeen {
    bool audio = false;
    bool video = false;
};

// Copies one stream's parameters and notes its type. Returns false for a type that no media file should have
// (its parameters are then not looked at).
bool StreamCopy(const AVStream *stream, MediaInfo *record, StreamsSeen *seen);

// Returns a count of libavformat as the record holds it: 0 for a negative one, the largest for one that does
// not fit.
uint32_t Count(int64_t count);
