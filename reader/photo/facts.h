// SPDX-License-Identifier: GPL-2.0-or-later
//
// From metadata to facts. What Exiv2 0.27.6 misses, the shape of file that shows it, and who makes up for it:
//
//   HEIC, AVIF     items whose iloc has sizes other than 4, base offsets or idat: no EXIF, no XMP; the size of a picture of
//                  tiles, or that of a thumbnail                                                 -> heif.h
//   JPEG XL        no size; EXIF and XMP in boxes of its container alone                         -> jpegxl.h
//   GIF            its size alone: no XMP, no comment                                            -> gif.h
//   SVG, ICO, Targa of another name, BigTIFF
//                  not known at all                                                              -> size.h, platform/image
//   JPEG 2000      without a container not known at all                                          -> code_stream.h
//   X3F            not known at all: EXIF lies in an embedded JPEG                               -> x3f.h
//   RAF            the size of the embedded JPEG, where that says it                            -> raf.h
//   RW2            the size of the whole sensor                                                  -> tiff_size.h
//   RW2            make, model, orientation and ISO under keys of its own (Exif.PanasonicRaw)    -> the table
//   TIFF, raw      the whole file in memory                                                      -> tiff_view.h
//   text           of no known character set is handed on as it is; UserComment is converted by what the C library
//                  opens then                                                                    -> text.h
#pragma once

#include "reader/photo/metadata.h"
#include "reader/protocol/fact_list.h"

// Adds what the metadata say, but for facts that there are already (a sidecar's).
void PhotoFactsAdd(const PhotoMetadata &metadata, FactList *facts);
