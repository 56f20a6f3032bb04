// SPDX-License-Identifier: GPL-2.0-or-later
//
// The line that an AAC decoder prints about a file:
//   WORD duration;SECONDS;samplerate;HZ;channel;COUNT;bitrate;BITS;
#pragma once

struct MediaInfo;

// Puts the line's values into the record and says whether all were there; the values before the first fault
// stay in the record. Numbers have a decimal point whatever the locale; what a field cannot hold is cut to it,
// and a duration that is no number is 0.
[[nodiscard]] bool FaadLineParse(const char *line, MediaInfo *record);
