// SPDX-License-Identifier: GPL-2.0-or-later
//
// The size readers of the picture formats. Each is called when the file begins with its format's signature
// and answers true when the header tells a size, which the caller still holds against what a record can
// store.
#pragma once

#include "platform/image/image_bytes.h"

struct PictureSize {
    uint64_t width;
    uint64_t height;
};

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
