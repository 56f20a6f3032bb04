// SPDX-License-Identifier: GPL-2.0-or-later
//
// The file that is being read, for all rooms of the formats.
#pragma once

#include "reader/input.h"
#include "reader/protocol/fact_list.h"

struct SoundFile {
    ReaderInput *input;
    FactList *facts;
    PictureSink *picture;
};

// What is known of a stream of sound; 0 and null: not known.
struct SoundStream {
    double duration = 0; // seconds
    double bitrate = 0;  // bit/s
    uint64_t sample_rate = 0;
    uint64_t channels = 0;
    uint64_t bits_per_sample = 0;
    const char *codec = nullptr;
    const char *container = nullptr;
};

void StreamFactsAdd(const SoundStream &stream, FactSource source, FactList *facts);
