// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/mp4_box.h"

std::optional<Box> Mp4BoxFind(BoxWalk *walk, Box parent, std::initializer_list<std::string_view> way) {
    for (const std::string_view type : way) {
        Box child;
        int64_t at = parent.begin;
        do {
            if (!BoxTake(walk, &at, parent.end, &child))
                return std::nullopt;
        } while (!child.Is(type));
        parent = child;
    }
    return parent;
}

SoundBytes Mp4BoxRead(BoxWalk *walk, const Box &box, int64_t size) {
    return SoundBytesRead(walk->input, box.begin, std::min(size, box.end - box.begin));
}

bool Mp4TimesTake(Cursor *cursor) {
    const bool is_long = TakeBig(cursor, 1) == 1;
    Take(cursor, is_long ? 19 : 11);
    return is_long;
}
