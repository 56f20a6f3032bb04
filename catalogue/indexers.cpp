// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/indexers.h"

#include <stddef.h>

#include <iterator>

#include "audio/aiff.h"
#include "catalogue/media.h"
#include "catalogue/music.h"
#include "catalogue/photo.h"
#include "catalogue/playlist.h"
#include "catalogue/video.h"
#include "container/aac.h"
#include "container/flac.h"
#include "container/mp4.h"

namespace {

struct Row {
    Indexer indexer;
    IndexRecipe recipe;
};

constexpr ByReader kSound = {.use = {.first = ReaderKind::sound_and_photos, .folder_cover = true}};
constexpr ByReader kFilm = {
    .use = {.first = ReaderKind::films, .companions = true, .subtitles = true, .folder_cover = true}};
// The photo library has pictures that cannot be read, too.
constexpr ByReader kPhoto = {
    .use = {.first = ReaderKind::sound_and_photos, .sidecars = true, .companions = true},
    .unread_fails = false};

constexpr ByReader kPlaylist = {.use = {.first = ReaderKind::sound_and_photos}};

// A field that a row does not name has the value that IndexRecipe gives it.
constexpr Row kRows[] = {
    {Indexer::music,
     {.log_name = "music.c",
      .remove_log_name = "music.c",
      .kind = kMediaMusic,
      .before = BasicFields::title,
      .read = MusicRead,
      .after = AfterReading::times_valid_then_defaults,
      .complete = &kSound}},
    {Indexer::probed_audio,
     {.log_name = "media.c",
      .remove_log_name = "media.c",
      .kind = kMediaMusic,
      .before = BasicFields::common,
      .read = ProbedAudioRead,
      .after = AfterReading::valid,
      .complete = &kSound}},
    {Indexer::plain_audio,
     {.log_name = "media.c",
      .remove_log_name = "media.c",
      .kind = kMediaMusic,
      .shape = LogShape::colon,
      .before = BasicFields::common,
      .after = AfterReading::valid}},
    {Indexer::probed_video,
     {.log_name = "media.c",
      .remove_log_name = "media.c",
      .kind = kMediaVideo,
      .before = BasicFields::common,
      .read = ProbedVideoRead,
      .after = AfterReading::valid,
      .complete = &kFilm}},
    {Indexer::plain_video,
     {.log_name = "media.c",
      .remove_log_name = "media.c",
      .kind = kMediaVideo,
      .shape = LogShape::colon,
      .before = BasicFields::common,
      .after = AfterReading::valid}},
    {Indexer::vcd,
     {.log_name = "video.c",
      .remove_log_name = "video.c",
      .kind = kMediaVideo,
      .before = BasicFields::common,
      .read = VcdRead,
      .after = AfterReading::valid,
      .complete = &kFilm}},
    {Indexer::playlist,
     {.log_name = "playlist.c",
      .remove_log_name = "playlist.c",
      .kind = kMediaPlaylist,
      .before = BasicFields::common,
      .read = PlaylistRead,
      .save_words = SaveWords::playlist_info,
      .complete = &kPlaylist}},
    {Indexer::photo,
     {.log_name = "photo.c",
      .remove_log_name = "photo.c",
      .kind = kMediaPhoto,
      .leaves_out_attributes = true,
      .before = BasicFields::title_and_album,
      .read = PhotoRead,
      .save_words = SaveWords::playlist_info, // log filters on the appliance know pictures by these words
      .complete = &kPhoto}},
    {Indexer::aiff,
     {.log_name = "aiff.c",
      .remove_log_name = "aiff.c",
      .kind = kMediaMusic,
      .read = AiffRead,
      .after = AfterReading::times_valid_then_defaults,
      .complete = &kSound}},
    {Indexer::mp4,
     {.log_name = "mp4.c",
      .remove_log_name = "mp4.c",
      .kind = kMediaMusic,
      .read = Mp4Read,
      .after = AfterReading::times_valid_then_defaults,
      .second_read = Mp4ProbedValuesTake,
      .failed_save_fails = false,
      .complete = &kSound}},
    {Indexer::flac,
     {.log_name = "flac.c",
      .remove_log_name = "media.c",
      .kind = kMediaMusic,
      .before = BasicFields::title_and_album,
      .read = FlacRead,
      .after = AfterReading::times,
      .failed_save_fails = false,
      .complete = &kSound}},
    {Indexer::aac,
     {.log_name = "aac.c",
      .remove_log_name = "media.c",
      .kind = kMediaMusic,
      .shape = LogShape::colon,
      .leaves_empty_path = true,
      .before = BasicFields::common,
      .read = AacRead,
      .save_words = SaveWords::media_info_and_path,
      .failed_save_fails = false,
      .complete = &kSound}},
};

constexpr bool RowsAreInOrder() {
    for (size_t i = 0; i < std::size(kRows); ++i)
        if (kRows[i].indexer != static_cast<Indexer>(i))
            return false;
    return std::size(kRows) == static_cast<size_t>(Indexer::aac) + 1;
}
static_assert(RowsAreInOrder(), "each Indexer has its row, in the order of the enumeration");

} // namespace

const IndexRecipe &IndexRecipeOf(Indexer indexer) {
    return kRows[static_cast<size_t>(indexer)].recipe;
}

int AiffInfoGet(const char *path, MediaInfo *record) {
    return IndexRecipeFill(IndexRecipeOf(Indexer::aiff), path, record);
}

int AiffIndexAdd(const char *path) {
    return IndexRecipeAdd(IndexRecipeOf(Indexer::aiff), path);
}

int AiffIndexDelete(const char *path) {
    return IndexRecipeRemove(IndexRecipeOf(Indexer::aiff), path);
}

int Mp4MediaInfoGet(const char *path, MediaInfo *record) {
    return IndexRecipeFill(IndexRecipeOf(Indexer::mp4), path, record);
}

int Mp4FileIndex(const char *path) {
    return IndexRecipeAdd(IndexRecipeOf(Indexer::mp4), path);
}

int Mp4FileRemove(const char *path) {
    return IndexRecipeRemove(IndexRecipeOf(Indexer::mp4), path);
}

int FlacFileIndex(const char *path) {
    return IndexRecipeAdd(IndexRecipeOf(Indexer::flac), path);
}

int AacFileIndex(const char *path) {
    return IndexRecipeAdd(IndexRecipeOf(Indexer::aac), path);
}
