// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the streams of a film are.
#pragma once

#include "reader/film/film_view.h"
#include "reader/input.h"
#include "reader/protocol/fact_list.h"

// Adds the facts of the container, of the first sound and of the film, and the languages of all streams.
void FilmStreamsRead(const FilmView &view, ReaderInput *file, FactList *facts);

// Adds the titles of chapters.
void FilmChaptersRead(const AVFormatContext &format, FactList *facts);
