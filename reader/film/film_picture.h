// SPDX-License-Identifier: GPL-2.0-or-later
//
// The picture that a film or a song has of itself.
#pragma once

#include "reader/film/film_view.h"
#include "reader/input.h"

// Takes the front cover, or else the first picture that is taken: attached pictures of every container, and files of pictures
// attached to Matroska.
void FilmPictureTake(const AVFormatContext &format, PictureSink *picture);
