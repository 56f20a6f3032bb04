// SPDX-License-Identifier: GPL-2.0-or-later
//
// The short cut past the search for stream parameters: that decodes pictures, of which each costs milliseconds, where often
// one frame of sound or the film's own configuration has the answer.
#pragma once

#include "reader/film/film_view.h"

// Read the file up to the sound's first packet and decode it; open the film's codec, which reads its configuration. What that
// tells is in the stream's parameters then. False when it did not work out.
[[nodiscard]] bool SoundFrameLook(const FilmView &view);
[[nodiscard]] bool FilmCodecLook(const FilmView &view);

// Has the film's codec read the begin of the next picture, and no more of it. As above.
[[nodiscard]] bool PictureHeadLook(const FilmView &view);
