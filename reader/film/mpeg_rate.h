// SPDX-License-Identifier: GPL-2.0-or-later
//
// The bit rate of MPEG audio whose container does not say it.
#pragma once

#include "reader/film/film_view.h"

[[nodiscard]] bool IsMpegAudio(AVCodecID codec);

// Reads the headers of the first frames, and puts the rate that all of them have into the sound's parameters. False when they have
// several, or are none.
[[nodiscard]] bool MpegRateLook(const FilmView &view);
