// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is remembered of files that readers have read, and for how long it is doubted. docs/limits.md lists these bounds with those
// of the platform.
#pragma once

#include <stddef.h>
#include <stdint.h>

// Times that a file which takes too long, or too much memory, is tried before it is given up until it changes: the machine may
// have been at fault.
inline constexpr int kTroubleTimes = 3;

// Directories of which a walk keeps in mind what the catalogue knows, twelve bytes a file: it comes back to those that have
// files behind sub-directories.
inline constexpr size_t kKnownDirectories = 16;

// Directories of which a walk keeps in mind what both catalogues have of pictures, 32 bytes a picture: the one that it is in, and
// the one above.
inline constexpr size_t kPictureDirectories = 2;

// Seconds that the last change of a file has to be over when it is read: another one in the same tick of its clock would not
// show in its times, and writers change files several times in a row.
inline constexpr int kStampSeconds = 3;

// Names of a directory that are kept to tell which subtitles belong to which films, of either; a season with ten languages has
// some hundred. And directories whose names a walk keeps in mind, for those with films behind sub-directories.
inline constexpr size_t kSubtitleNamesMax = 1024;
inline constexpr size_t kSubtitleDirectories = 4;

// Bytes of names of a directory that are compared to tell which pictures and films were taken together: 150,000 names as cameras
// give them. Directories of which these are kept, for those with photos behind sub-directories. And how many names are compared for
// one file: the longest burst of a phone has 100 pictures.
inline constexpr size_t kCompanionBytesMax = size_t{2} << 20;
inline constexpr size_t kCompanionDirectories = 4;
inline constexpr size_t kCompanionsMax = 256;

// Pictures of a directory that may be its cover and are looked at, those that count most: a name may be written in hundreds of ways,
// upper and lower case mixed.
inline constexpr size_t kFolderCoversMax = 8;

// Directories that are tried in front of, and left out of, the path that an entry of a playlist had on another machine: each with
// each. Libraries have three or four levels.
inline constexpr size_t kPlaylistLevelsMax = 16;

// Milliseconds that files which an older revision of the readers has read are read again at a time, when no request waits: after
// that others have their turn, and the next time is as far away as the next look at the queue.
inline constexpr int64_t kOlderFilesMilliseconds = 5000;
