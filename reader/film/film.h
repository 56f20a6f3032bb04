// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading a film in the way that its headers ask for, or in the long one whatever they say.
#pragma once

#include "reader/readers.h"

enum class FilmWay : uint8_t { as_needed, always_search };

// As FilmFactsRead. `*searched`, where it is wanted, is why the streams were searched for their parameters, or null.
ReadOutcome FilmFactsReadBy(FilmWay way, ReaderInput *input, ContentFormat format, FactList *facts,
                            PictureSink *picture, const char **searched = nullptr);
