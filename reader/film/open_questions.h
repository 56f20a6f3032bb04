// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whether a film's headers tell all that its row needs. They mostly do, and opening a file then is a tenth of the work: the
// search for the streams' parameters, which libavformat calls finding stream info, decodes the first frames of each stream.
// Each question names a file shape; what it means to leave one out shows in the row.
#pragma once

#include "reader/film/film_view.h"

// What it takes to answer a question, from the cheapest to the dearest.
enum class FilmLook : uint8_t {
    headers,     // they suffice
    film_codec,  // the configuration of the film's codec
    sound_frame, // one frame of the sound
    mpeg_frames, // headers of the first frames of MPEG audio
    search,      // libavformat's search
};

struct OpenQuestion {
    const char *words; // "no duration"
    FilmLook look;
    bool (*is_open)(const FilmView &);
};

// Returns the first open question that takes such a look, or null.
const OpenQuestion *OpenQuestionFor(FilmLook look, const FilmView &view);
