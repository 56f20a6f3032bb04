// SPDX-License-Identifier: GPL-2.0-or-later
//
// Songs and films as a playlist (m3u8) that players take.
#pragma once

#include <stdio.h>

#include <vector>

#include "tools/veluctl/row.h"

// The columns of the rows, in this order.
inline constexpr const char *kPlaylistColumns[] = {"path", "title", "artist", "duration"};

class PlaylistWriter {
public:
    explicit PlaylistWriter(FILE *out);
    void Add(const Row &row);
    [[nodiscard]] size_t count() const { return count_; }
    [[nodiscard]] size_t left_out() const { return left_out_; } // paths that no line can carry

private:
    FILE *out_;
    bool terminal_;
    size_t count_ = 0;
    size_t left_out_ = 0;
};
