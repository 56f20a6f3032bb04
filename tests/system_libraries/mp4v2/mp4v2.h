// SPDX-License-Identifier: GPL-2.0-or-later
//
// The calls and fields of libmp4v2 2.x that are used.
#pragma once

#include <stddef.h>
#include <stdint.h>

extern "C" {

typedef void *MP4FileHandle;
typedef uint32_t MP4TrackId;
typedef uint64_t MP4Duration;

#define MP4_INVALID_FILE_HANDLE ((MP4FileHandle)NULL)
#define MP4_INVALID_TRACK_ID ((MP4TrackId)0)
#define MP4_INVALID_DURATION ((MP4Duration)-1)
#define MP4_AUDIO_TRACK_TYPE "soun"
#define MP4_VIDEO_TRACK_TYPE "vide"

typedef enum { MP4_LOG_NONE = 0, MP4_LOG_ERROR = 1 } MP4LogLevel;
void MP4LogSetLevel(MP4LogLevel verbosity);

MP4FileHandle MP4Read(const char *fileName);
void MP4Close(MP4FileHandle hFile, uint32_t flags = 0);

uint32_t MP4GetNumberOfTracks(MP4FileHandle hFile, const char *type = NULL, uint8_t subType = 0);
MP4TrackId MP4FindTrackId(MP4FileHandle hFile, uint16_t index, const char *type = NULL, uint8_t subType = 0);
const char *MP4GetTrackType(MP4FileHandle hFile, MP4TrackId trackId);
uint32_t MP4GetTrackTimeScale(MP4FileHandle hFile, MP4TrackId trackId);
MP4Duration MP4GetTrackDuration(MP4FileHandle hFile, MP4TrackId trackId);
uint64_t MP4ConvertFromTrackDuration(MP4FileHandle hFile, MP4TrackId trackId, MP4Duration duration,
                                     uint32_t timeScale);
uint32_t MP4GetTrackBitRate(MP4FileHandle hFile, MP4TrackId trackId);
int MP4GetTrackAudioChannels(MP4FileHandle hFile, MP4TrackId trackId);
uint16_t MP4GetTrackVideoWidth(MP4FileHandle hFile, MP4TrackId trackId);
uint16_t MP4GetTrackVideoHeight(MP4FileHandle hFile, MP4TrackId trackId);

typedef enum {
    MP4_ART_UNDEFINED = 0,
    MP4_ART_BMP = 1,
    MP4_ART_GIF = 2,
    MP4_ART_JPEG = 3,
    MP4_ART_PNG = 4
} MP4TagArtworkType;

typedef struct {
    void *data;
    uint32_t size;
    MP4TagArtworkType type;
} MP4TagArtwork;

typedef struct {
    uint16_t index;
    uint16_t total;
} MP4TagTrack;

typedef struct {
    uint16_t index;
    uint16_t total;
} MP4TagDisk;

typedef struct {
    const char *name;
    const char *artist;
    const char *album;
    const char *composer;
    const char *comments;
    const char *genre;
    const uint16_t *genreType;
    const char *releaseDate;
    const MP4TagTrack *track;
    const MP4TagDisk *disk;
    const MP4TagArtwork *artwork;
    uint32_t artworkCount;
} MP4Tags;

const MP4Tags *MP4TagsAlloc(void);
bool MP4TagsFetch(const MP4Tags *tags, MP4FileHandle hFile);
void MP4TagsFree(const MP4Tags *tags);
}
