// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which tracks the albums of the catalogue lack.
#pragma once

#include <functional>

#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/overview/track_gaps.h"
#include "tools/veluctl/search/search.h"

struct TrackGapsAsked {
    const Search *within = nullptr; // null: all
    bool states = false;            // the catalogue has facts
};

// Tells the albums with gaps in the order of their directories, as long as more are wanted. False, with the reason in the reader, when
// the catalogue cannot be read.
[[nodiscard]] bool TrackGapsRead(CatalogueReader *reader, const TrackGapsAsked &asked,
                                 const std::function<bool()> &wants_more, const AlbumGapsTake &take);
