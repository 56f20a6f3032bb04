// SPDX-License-Identifier: GPL-2.0-or-later
//
// The file that a reader was handed, as libavformat's input.
#pragma once

#include "container/probe_module/handles.h"
#include "reader/input.h"

struct FilmInput {
    ReaderInput *file = nullptr;
    int64_t position = 0;
    int64_t left = 0; // bytes that may still be read
};

// Opens libavformat's view of the input, which has to outlive it and reads kFilmReadMax bytes at most; behind those it ends.
// Null when memory is short.
AvioHandle FilmInputOpen(FilmInput *input);
