// SPDX-License-Identifier: GPL-2.0-or-later
//
// Tags as libavformat names them, and what they say. It translates the names of most containers into its own; what it leaves
// as written stands in the table as well.
//
// What libavformat 59 misses, with what shows it:
//   Matroska  of several SimpleTags of one name (two artists) the last alone is left
//             of targets without a TargetType (TargetTypeValue 50 and 30 alone) names are mixed; with one, the name has it before a
//             slash, which the table knows
//   ASF       of several attributes of one name the last alone is left
//   Ogg       values of one name come joined by ";": they are cut apart where no blank follows
#pragma once

#include "reader/film/film_view.h"
#include "reader/protocol/fact_list.h"

void FilmTagsRead(const FilmView &view, FactList *facts);
