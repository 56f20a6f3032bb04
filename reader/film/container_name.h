// SPDX-License-Identifier: GPL-2.0-or-later
//
// The container's short name.
#pragma once

#include <string>

#include "reader/film/film_view.h"
#include "reader/input.h"

// libavformat names a family ("mov,mp4,m4a,3gp,3g2,mj2"): the member is told by the file's own mark, the brand of an ISO
// file or the document type of a Matroska one. Where that says nothing it is the family's first.
std::string ContainerName(const FilmView &view, ReaderInput *file);
