// SPDX-License-Identifier: GPL-2.0-or-later
//
// Every bound on what one file may cost. Files come from anybody who can write to a share, so that each
// length, count and size that a file claims meets one of these before it costs memory, time or disk space.
#pragma once

#include <stddef.h>
#include <stdint.h>

// --- Byte readers ------------------------------------------------------------------------------------------

// What a byte reader holds of its file at a time. Headers and tags of an ordinary file take one or two such
// reads, and a context fits the stack of a small machine.
inline constexpr size_t kReaderWindow = 16384;

// --- MP3 ---------------------------------------------------------------------------------------------------

// A text frame longer than this ends the tag: the fields it could fill hold 1024 bytes with their terminator.
inline constexpr uint32_t kId3TextFrameMax = 1023;

// The longest MIME type of a picture frame that is looked at; the known ones are half as long.
inline constexpr uint32_t kId3MimeTypeMax = 31;

// A picture frame above this is no cover: scans at print resolution stay below 64 MiB, and a tag must not be
// a way to fill the system volume.
inline constexpr int64_t kPictureFrameMax = int64_t{64} * 1024 * 1024;

// A picture frame may claim this many bytes more than the file has (a tag whose end was cut off); they are
// stored as filler. One that claims more is not a picture.
inline constexpr int64_t kPictureFillMax = kReaderWindow;

// Play times from here on (12 hours, in seconds) come from damaged headers.
inline constexpr double kMp3DurationMax = 43200.0;

// --- AIFF --------------------------------------------------------------------------------------------------

// Chunk headers looked at in search of COMM, one small read each: ordinary files hold under twenty chunks, and
// a file of nothing but empty ones must not keep the daemon busy for hours.
inline constexpr int kAiffChunksMax = 16384;

// --- FLAC ---------------------------------------------------------------------------------------------------

// Metadata blocks (and an ID3v2 tag before them) of one file: ordinary files hold under twenty, and libFLAC reads
// each one twice.
inline constexpr int kFlacBlocksMax = 1024;

// Bytes of all of them together: room for a dozen pictures of the largest size that the format can hold.
inline constexpr uint64_t kFlacMetadataMax = uint64_t{256} * 1024 * 1024;

// --- AAC ----------------------------------------------------------------------------------------------------

// How long the decoder may take over one file, in milliseconds. It reads the whole file: a gigabyte from a slow
// disk takes one minute.
inline constexpr int kDecoderTimeMax = 120'000;
