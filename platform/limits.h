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

// How far into a file positions go. File systems let an empty file claim as many bytes as 63 bits count; half of
// that leaves room to add a frame's length, or any other that a file claims, to a position.
inline constexpr int64_t kReaderFileMax = INT64_MAX / 2;

// --- MP3 ---------------------------------------------------------------------------------------------------

// A text frame longer than this ends the tag: the fields it could fill hold 1024 bytes with their terminator.
inline constexpr uint32_t kId3TextFrameMax = 1023;

// The longest MIME type of a picture frame that is looked at; the known ones are half as long.
inline constexpr uint32_t kId3MimeTypeMax = 31;

// A picture frame above this is no cover: scans at print resolution stay below 64 MiB, and a tag must not be
// a way to fill the system volume.
inline constexpr int64_t kPictureFrameMax = int64_t{64} * 1024 * 1024;

// Picture frames of one tag that are tried: there are 21 types of pictures, and each frame that is no good costs
// a line in the log, which is longer than the frame has to be. Those behind are stepped over.
inline constexpr int kId3PicturesMax = 256;

// A picture frame may claim this many bytes more than the file has (a tag whose end was cut off); they are
// stored as filler. One that claims more is not a picture.
inline constexpr int64_t kPictureFillMax = kReaderWindow;

// Play times from here on (12 hours, in seconds) come from damaged headers.
inline constexpr double kMp3DurationMax = 43200.0;

// --- AIFF --------------------------------------------------------------------------------------------------

// Chunk headers looked at in search of COMM, one small read each: ordinary files hold under twenty chunks, and
// a file of nothing but empty ones must not keep the daemon busy for hours.
inline constexpr int kAiffChunksMax = 16384;

// --- FLAC --------------------------------------------------------------------------------------------------

// Metadata blocks (and an ID3v2 tag before them) of one file: ordinary files hold under twenty, and libFLAC reads
// each one twice.
inline constexpr int kFlacBlocksMax = 1024;

// Bytes of all of them together: room for a dozen pictures of the largest size that the format can hold.
inline constexpr uint64_t kFlacMetadataMax = uint64_t{256} * 1024 * 1024;

// --- AAC ---------------------------------------------------------------------------------------------------

// How long the decoder may take over one file, in milliseconds. It reads the whole file: a gigabyte from a slow
// disk takes one minute.
inline constexpr int kDecoderTimeMax = 120'000;

// --- MP4 ---------------------------------------------------------------------------------------------------

// What the reader holds of its file at a time: a page, which a read brings in anyway. Between the boxes that
// it looks at lie gigabytes that it steps over, so that a larger window would mostly bring in what nobody
// needs.
inline constexpr size_t kMp4Window = 4096;

// Boxes that are looked at in one file. A day of television in fragments of one second has 170 000 at the top
// level; a file of nothing but box headers costs at most a second.
inline constexpr uint32_t kMp4BoxesMax = 1U << 18;

// Tracks behind the first thousand are not looked at: concert recordings have tens, and each takes memory.
inline constexpr size_t kMp4TracksMax = 1000;

// Entries of a sample size table that are added up: four days of AAC at 48 kHz. Longer tables, which a sparse
// file has for nothing, give no bit rate.
inline constexpr uint32_t kMp4SamplesMax = 1U << 24;

// Bytes of an item's text that are read: four times what the catalogue's fields hold.
inline constexpr size_t kMp4TextMax = 1024;

// A picture above this is no cover, for the same reason as in an ID3 tag.
inline constexpr uint64_t kMp4PictureMax = kPictureFrameMax;

// --- EXIF --------------------------------------------------------------------------------------------------

// What libexif may hold of one picture. EXIF data are at most 64 KiB and their directories cost a few times
// that; entries that all claim the same bytes took some 8 MiB.
inline constexpr size_t kExifMemoryMax = size_t{2} * 1024 * 1024;

// --- MPEG video --------------------------------------------------------------------------------------------

// Start codes are looked for at offsets up to this one: the first packs of a stream hold all that is wanted,
// and a file costs a few reads however large it is.
inline constexpr int64_t kMpegPrefixOffsetMax = 99'999;
