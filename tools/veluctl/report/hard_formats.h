// SPDX-License-Identifier: GPL-2.0-or-later
//
// Formats that many players do not play, show or unpack.
#pragma once

#include <span>
#include <string_view>

// Words stand with a blank between them.
struct HardFormat {
    const char *name;
    const char *where;           // players find it hard
    std::string_view fact;       // `codec` or `video_codec`; empty: it is told by extensions alone
    std::string_view codecs;     // values of the fact, as libavformat names them
    std::string_view extensions; // where no facts are known
};

std::span<const HardFormat> HardFormats();
