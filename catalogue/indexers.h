// SPDX-License-Identifier: GPL-2.0-or-later
//
// The kinds of media files that are indexed, each by its row of one table of recipes (catalogue/index_recipe.h).
#pragma once

#include "catalogue/index_recipe.h"

enum class Indexer {
    music,        // MP3 (MPEG-1/2 audio, ISO/IEC 11172-3 and 13818-3, with ID3 tags)
    probed_audio, // what the media probe reads
    plain_audio,  // raw PCM: only the file system is asked
    probed_video,
    plain_video, // disc images, subtitles
    vcd,         // Video CD data files
    playlist,
    photo, // as media files; the photo library's rows are photo/photo_index's
    aiff,
    mp4,
    flac,
    aac,
};

const IndexRecipe &IndexRecipeOf(Indexer indexer);

// Do for one kind what its recipe says, under a name of its own. They return what IndexRecipeFill,
// IndexRecipeAdd and IndexRecipeRemove return; an AIFF or MP4 record that is only filled is zeroed first.
int AiffInfoGet(const char *path, MediaInfo *record);
int AiffIndexAdd(const char *path);
int AiffIndexDelete(const char *path);
int Mp4MediaInfoGet(const char *path, MediaInfo *record);
int Mp4FileIndex(const char *path);
int Mp4FileRemove(const char *path);
int FlacFileIndex(const char *path);
int AacFileIndex(const char *path);
