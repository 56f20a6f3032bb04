// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a Vorbis comment says about a record.
#pragma once

#include <string_view>

struct MediaInfo;

// Takes one entry, "KEY=value": TITLE, ARTIST, ALBUM and GENRE as text, DATE as the year when it is a number
// and nothing else, TRACKNUMBER up to the first byte that is no digit. Case of the key does not matter; other
// keys and empty values change nothing.
void FlacTagTake(std::string_view entry, MediaInfo *record);
