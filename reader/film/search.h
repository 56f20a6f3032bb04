// SPDX-License-Identifier: GPL-2.0-or-later
//
// libavformat's search for the streams' parameters, without the pictures that it decodes by itself: at 3840x2160 some of them
// take 100 ms and 50 MB, where the codec's parameter sets say all that is asked for.
#pragma once

#include "reader/film/film_view.h"

// Searches, in a file that has just been opened. Returns what the library returns.
int StreamsSearch(AVFormatContext *format);

// True when the bit rate of the sound is the mean of as many frames as the search came by, which were others with pictures. Those of
// larger films are not decoded for it.
[[nodiscard]] bool HasMeanOfFrames(const FilmView &view);

// True when the search has left out what a picture's head would have told.
[[nodiscard]] bool IsPictureLeftOut(const FilmView &view);
