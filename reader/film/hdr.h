// SPDX-License-Identifier: GPL-2.0-or-later
//
// High dynamic range: what a film's colours are meant for.
#pragma once

#include "reader/film/film_view.h"

// Returns "dolby_vision", "hdr10plus", "hdr10", "hlg", or null. May read the film's first packet.
const char *HdrOf(const FilmView &view);

// Returns whether the codec's configuration tells of more than eight bits a colour, without which no film is of high
// dynamic range.
[[nodiscard]] bool IsDeepColour(const AVCodecParameters &parameters);
