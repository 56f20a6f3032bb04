// SPDX-License-Identifier: GPL-2.0-or-later
//
// How long a file plays, and how many bits a second that takes.
#pragma once

#include "reader/film/film_view.h"

// Returns microseconds, or 0 when that is not known.
int64_t FilmDuration(const FilmView &view);

// Return bit/s, or 0. A stream's own rate comes from its codec's headers, or from the statistics that Matroska writers add;
// that of a film which says none is the whole file's, as is the rate of a file that has nothing but one sound stream.
int64_t SoundBitRate(const FilmView &view);
int64_t FilmBitRate(const FilmView &view);
