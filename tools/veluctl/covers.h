// SPDX-License-Identifier: GPL-2.0-or-later
//
// The cover pictures that are kept for a media file.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "tools/veluctl/record_print.h"

struct KeptCover {
    std::string path;
    uint64_t size;
    int width; // 0: not known
    int height;
};

// Returns the covers that are kept for a media file, in the folder that this process uses.
std::vector<KeptCover> CoversOf(const std::string &media_path);

RecordPart CoverPart(const KeptCover &cover);
