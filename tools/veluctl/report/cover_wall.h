// SPDX-License-Identifier: GPL-2.0-or-later
//
// A wall of cover pictures.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "tools/veluctl/report/html_writer.h"

// What has a picture.
struct CoverOwner {
    std::string name;
    std::string more; // below it: an artist
    std::string path; // of a file with the cover
};

struct CoverWall {
    Literal anchor; // of its section
    Literal style;  // class of its colour
    Literal heading;
    const char *one; // what the owners are: "album", "albums"
    const char *many;
    size_t bytes_max; // of all its pictures
    std::vector<CoverOwner> newest = {};
    int64_t in_all = 0; // owners
};

inline constexpr size_t kOwnersMax = 300; // that are looked at for a wall; some have no cover that is fit

// Writes a section with the wall, and what is wrong with the pictures that it has no place for; nothing when nobody has one.
void CoverWallWrite(HtmlWriter *html, const CoverWall &wall);
