// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files of subtitles, by their names. They lie beside films and are none.
#pragma once

#include <string_view>

inline constexpr std::string_view kSubtitleExtensions[] = {"srt", "ass", "ssa", "sub", "idx",
                                                           "smi", "psb", "vtt", "sup"};
