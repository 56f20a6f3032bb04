// SPDX-License-Identifier: GPL-2.0-or-later
//
// The size readers of the picture formats. Each is called when the file begins with its format's signature
// and answers true when the header tells a size, which the caller still holds against what a record can
// store.
#pragma once

#include "platform/index/image_bytes.h"

struct PictureSize {
    uint64_t width;
    uint64_t height;
};

// Bounds of the readers, each far beyond what real files have.

// 4096 full segments are 256 MiB of metadata before the frame header; colour profiles stop at 255 segments,
// and XMP of tens of megabytes takes some hundreds.
inline constexpr int kJpegMaxSegments = 4096;
// Writers pad between segments by a few bytes, or leave a damaged segment's rest: a segment's worth in all.
inline constexpr int kJpegMaxStrayBytes = 65536;
// Directories hold some tens of entries, sorted by tag, and the two that are looked for have low tags.
inline constexpr uint64_t kTiffMaxEntries = 4096;

bool JpegPictureSize(ImageReader *reader, PictureSize *size);
bool PngPictureSize(ImageReader *reader, PictureSize *size);
bool GifPictureSize(ImageReader *reader, PictureSize *size);
bool BmpPictureSize(ImageReader *reader, PictureSize *size);
bool TiffPictureSize(ImageReader *reader, PictureSize *size);
bool PsdPictureSize(ImageReader *reader, PictureSize *size);
bool IcoPictureSize(ImageReader *reader, PictureSize *size);

// Finds the format by the file's first bytes and reads its size: 0 with both numbers from 1 to INT32_MAX, or
// -1 with nothing written.
int PictureSizeRead(const ImageSource &source, int *width, int *height);
