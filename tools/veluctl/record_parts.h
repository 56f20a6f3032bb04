// SPDX-License-Identifier: GPL-2.0-or-later
//
// The records that readers fill, as parts to print: only the fields that a reader has filled.
#pragma once

#include "platform/media_record.h"
#include "platform/photo_record.h"
#include "tools/veluctl/record_print.h"

// `whole`: with what the file system says of the file.
RecordPart MediaPart(const char *reader, const MediaInfo &record, bool whole = false);
RecordPart PhotoPart(const char *reader, const PhotoRecord &record);
RecordPart PicturePart(const char *reader, int width, int height);
