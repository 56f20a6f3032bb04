// SPDX-License-Identifier: GPL-2.0-or-later
//
// Tags of a media file, as far as the catalogue keeps them.
#pragma once

#include "platform/media_record.h"

extern "C" {
#include <libavformat/avformat.h>
}

// Copies genre, artist, title, year and track. Texts that are missing or empty and a year of 0 leave the
// record's as they are; the track is always set.
void TagsCopy(const AVFormatContext *format, MediaInfo *record);

void AlbumCopy(const AVFormatContext *format, MediaInfo *record);
