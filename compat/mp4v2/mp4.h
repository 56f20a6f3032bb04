// SPDX-License-Identifier: GPL-2.0-or-later
//
// The calls of libmp4v2 1.x for reading an MP4 file (ISO/IEC 14496-12 and -14, iTunes item list), answered by
// a reader of our own or, with VELU_SYSTEM_MP4V2, by an installed libmp4v2 2.x, which kept the track calls
// and replaced the metadata calls.
//
// A null handle and an unknown track are answered with the failure value that stands beside each call.
// Nothing throws and nothing is logged.
#pragma once

#include <stdint.h>

#ifdef VELU_SYSTEM_MP4V2

#include <mp4v2/mp4v2.h>

#else

using MP4FileHandle = void *;
using MP4TrackId = uint32_t;
using MP4Duration = uint64_t;

inline constexpr MP4FileHandle MP4_INVALID_FILE_HANDLE = nullptr;
inline constexpr MP4TrackId MP4_INVALID_TRACK_ID = 0;
inline constexpr MP4Duration MP4_INVALID_DURATION = UINT64_MAX;

inline constexpr char MP4_AUDIO_TRACK_TYPE[] = "soun";
inline constexpr char MP4_VIDEO_TRACK_TYPE[] = "vide";

void MP4Close(MP4FileHandle file);

// Counts the tracks of a handler type (null: of all), and of an MPEG-4 object type unless that is 0. A track
// that lacks one of its headers or sample tables is left out, unless the file ends inside it.
uint32_t MP4GetNumberOfTracks(MP4FileHandle file, const char *type = nullptr, uint8_t sub_type = 0);

// Returns the id of the index-th such track, or MP4_INVALID_TRACK_ID.
MP4TrackId MP4FindTrackId(MP4FileHandle file, uint16_t index, const char *type = nullptr,
                          uint8_t sub_type = 0);

// Returns the four characters of the track's handler, owned by the handle; null.
const char *MP4GetTrackType(MP4FileHandle file, MP4TrackId track);

// Returns the units per second of the track's times; 0.
uint32_t MP4GetTrackTimeScale(MP4FileHandle file, MP4TrackId track);

// Returns the duration that the media header says, in its time scale: edit lists and fragments do not count.
// MP4_INVALID_DURATION without one.
MP4Duration MP4GetTrackDuration(MP4FileHandle file, MP4TrackId track);

// Converts a duration of the track to units of 1/time_scale seconds, rounded down. All ones when the track's
// own time scale is 0 or the result has more than 64 bits.
uint64_t MP4ConvertFromTrackDuration(MP4FileHandle file, MP4TrackId track, MP4Duration duration,
                                     uint32_t time_scale);

// Returns bit/s: the average that the elementary stream descriptor names, else that of the samples; 0.
uint32_t MP4GetTrackBitRate(MP4FileHandle file, MP4TrackId track);

// Returns the channels of the first sample entry; -1, also for a track that is not sound.
int MP4GetTrackAudioChannels(MP4FileHandle file, MP4TrackId track);

// Return the size of the first sample entry in pixels, before pixel shape and rotation; 0, also for a track
// that is not video.
uint16_t MP4GetTrackVideoWidth(MP4FileHandle file, MP4TrackId track);
uint16_t MP4GetTrackVideoHeight(MP4FileHandle file, MP4TrackId track);

#endif

// Opens a regular file; null when it has no movie header that can be read. There is nothing to be said at any
// `verbosity`.
MP4FileHandle MP4Read(const char *path, uint32_t verbosity);

// Read the items of moov.udta.meta.ilst. Each call returns whether there is such an item with a value; text
// and pictures are copies to be freed with free(). Whatever handle there is, the out-parameters are set to
// null or 0 first. Text is given as it stands in the file and ends at its first zero byte.
bool MP4GetMetadataName(MP4FileHandle file, char **value);
bool MP4GetMetadataArtist(MP4FileHandle file, char **value);
bool MP4GetMetadataAlbum(MP4FileHandle file, char **value);
bool MP4GetMetadataComment(MP4FileHandle file, char **value);
bool MP4GetMetadataWriter(MP4FileHandle file, char **value);
bool MP4GetMetadataYear(MP4FileHandle file, char **value);

// Reads the genre as text. A file may hold a number instead (one more than that of ID3v1), which then counts:
// the caller has the names. True when there is a number item; it is 0 when the item cannot be used.
bool MP4GetMetadataGenre(MP4FileHandle file, char **value);
bool MP4GetMetadataGenreNumber(MP4FileHandle file, uint16_t *number);

bool MP4GetMetadataTrack(MP4FileHandle file, uint16_t *track, uint16_t *total);
bool MP4GetMetadataDisk(MP4FileHandle file, uint16_t *disk, uint16_t *total);

// Reads a picture; they count from 0, and an empty one is true with null and 0.
bool MP4GetMetadataCoverArt(MP4FileHandle file, uint8_t **picture, uint32_t *size, uint32_t index = 0);

// The picture's type code, as in its `data` box. One that is neither of these gives way to what the picture's
// first bytes show.
inline constexpr uint32_t kMp4CoverJpeg = 13;
inline constexpr uint32_t kMp4CoverPng = 14;
bool MP4GetMetadataCoverArtFileType(MP4FileHandle file, uint32_t *type, uint32_t index = 0);
