// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/mp4_reader.h"

#include "audio/cover_file.h"
#include "audio/id3_genres.h"
#include "catalogue/media_info.h"
#include "compat/mp4v2/mp4.h"
#include "container/mp4_cover.h"
#include "platform/handle.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <memory>

namespace {

constexpr char kLogName[] = "mp4.c";

constexpr uint32_t kSeconds = 1; // as a time scale
constexpr int kDecimal = 10;

void Mp4FileClose(MP4FileHandle file) {
    MP4Close(file);
}

using Mp4File = std::unique_ptr<void, CloseWith<Mp4FileClose>>;
using Mp4Text = std::unique_ptr<char, CloseWith<free>>;

using TextCall = bool (*)(MP4FileHandle, char **);

struct TextTag {
    TextCall get;
    char (MediaInfo::*field)[kMediaTextSize];
};

constexpr TextTag kTextTags[] = {
    {MP4GetMetadataName, &MediaInfo::title},      {MP4GetMetadataAlbum, &MediaInfo::album},
    {MP4GetMetadataArtist, &MediaInfo::artist},   {MP4GetMetadataGenre, &MediaInfo::genre},
    {MP4GetMetadataComment, &MediaInfo::comment}, {MP4GetMetadataWriter, &MediaInfo::composer}};

// The record is filled from the first sound track and the last video track.
struct ChosenTracks {
    MP4TrackId sound = MP4_INVALID_TRACK_ID;
    MP4TrackId video = MP4_INVALID_TRACK_ID;
};

ChosenTracks TracksChoose(MP4FileHandle file, uint32_t count) {
    ChosenTracks chosen;
    for (uint32_t i = 0; i < count; ++i) {
        const MP4TrackId track = MP4FindTrackId(file, static_cast<uint16_t>(i), nullptr, 0);
        const char *type = MP4GetTrackType(file, track);
        if (type == nullptr)
            continue;
        if (strcmp(type, MP4_AUDIO_TRACK_TYPE) == 0 && chosen.sound == MP4_INVALID_TRACK_ID)
            chosen.sound = track;
        else if (strcmp(type, MP4_VIDEO_TRACK_TYPE) == 0)
            chosen.video = track;
    }
    return chosen;
}

// Whole seconds; 0 when the file does not know.
float TrackSeconds(MP4FileHandle file, MP4TrackId track) {
    const MP4Duration duration = MP4GetTrackDuration(file, track);
    if (duration == MP4_INVALID_DURATION)
        return 0;
    const uint64_t seconds = MP4ConvertFromTrackDuration(file, track, duration, kSeconds);
    return seconds == MP4_INVALID_DURATION ? 0 : static_cast<float>(seconds);
}

void SoundFill(MP4FileHandle file, MP4TrackId track, MediaInfo *record) {
    const int channels = MP4GetTrackAudioChannels(file, track);
    record->channels = channels < 0 ? 0 : static_cast<uint32_t>(channels);
    record->duration = TrackSeconds(file, track);
    record->sample_rate = MP4GetTrackTimeScale(file, track);
    record->audio_bitrate = MP4GetTrackBitRate(file, track);
}

void VideoFill(MP4FileHandle file, MP4TrackId track, MediaInfo *record) {
    record->duration = TrackSeconds(file, track);
    record->video_bitrate = MP4GetTrackBitRate(file, track);
    record->width = MP4GetTrackVideoWidth(file, track);
    record->height = MP4GetTrackVideoHeight(file, track);
}

Mp4Text TextGet(MP4FileHandle file, TextCall get) {
    char *text = nullptr;
    return Mp4Text(get(file, &text) ? text : nullptr);
}

void TextFill(char (&field)[kMediaTextSize], const char *text) {
    snprintf(field, sizeof field, "%s", text);
}

// A genre number goes before a genre text; a number without a name gives no genre at all.
void GenreNumberFill(MP4FileHandle file, MediaInfo *record) {
    uint16_t number = 0; // one more than in the table
    if (!MP4GetMetadataGenreNumber(file, &number))
        return;
    const bool has_name = number >= 1 && number <= kId3GenreCount;
    TextFill(record->genre, has_name ? Id3GenreNames[number - 1] : "");
}

// 0 for anything but a number alone, as in "2008-05-01".
int32_t YearOf(const char *text) {
    char *end = nullptr;
    errno = 0;
    const long year = strtol(text, &end, kDecimal);
    const bool fits = errno == 0 && year >= 0 && year <= INT32_MAX;
    return *end == '\0' && fits ? static_cast<int32_t>(year) : 0;
}

void NumbersFill(MP4FileHandle file, MediaInfo *record) {
    if (const Mp4Text year = TextGet(file, MP4GetMetadataYear))
        record->year = YearOf(year.get());
    uint16_t number = 0;
    uint16_t total = 0;
    if (MP4GetMetadataTrack(file, &number, &total))
        record->track = number;
    if (MP4GetMetadataDisk(file, &number, &total))
        record->disc = number;
}

} // namespace

int Mp4MetadataRead(const char *path, MediaInfo *record) {
    CoversClean(path);
    const Mp4File file(MP4Read(path, 0));
    if (!file) {
        syslog(LOG_ERR, "%s:%d Failed to parse mp4 metadata from [%s].", kLogName, __LINE__, path);
        return -1;
    }
    const uint32_t count = MP4GetNumberOfTracks(file.get(), nullptr, 0);
    if (count == 0) {
        syslog(LOG_ERR, "%s (%d) No tracks in mp4.", kLogName, __LINE__);
        return -1;
    }
    const ChosenTracks chosen = TracksChoose(file.get(), count);
    if (chosen.sound != MP4_INVALID_TRACK_ID)
        SoundFill(file.get(), chosen.sound, record);
    if (chosen.video != MP4_INVALID_TRACK_ID)
        VideoFill(file.get(), chosen.video, record);
    for (const TextTag &tag : kTextTags) {
        if (const Mp4Text text = TextGet(file.get(), tag.get))
            TextFill(record->*tag.field, text.get());
    }
    GenreNumberFill(file.get(), record);
    if (Mp4CoverArtWrite(file.get(), path) == 1)
        record->has_cover = 1;
    NumbersFill(file.get(), record);
    return 0;
}
