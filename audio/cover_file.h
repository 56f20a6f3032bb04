// SPDX-License-Identifier: GPL-2.0-or-later
//
// CoverFile: writing the cover picture of a media file. The file is created anew, filled, and given the mode
// and the media file's owner; a failure at any step leaves neither the file nor an empty folder behind.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>

#include "platform/handle.h"

// A picture that is shorter is not even the head of one, and is not stored.
inline constexpr int kCoverJpegMin = 10;
inline constexpr int kCoverPngMin = 8;

// Removes the covers of a media file.
void CoversClean(const char *media_path);

struct CoverFile {
    const char *log_name;   // the caller's, for the log lines
    const char *media_path; // both paths must live as long as this
    const char *cover_path;
    FdHandle file = {};
};

// Create or fill the file. They return true, or log and return false: CoverFileDiscard is then to be called.
bool CoverFileCreate(CoverFile *cover);
bool CoverFileWrite(CoverFile *cover, std::span<const uint8_t> bytes);

// Sets mode and owner, then closes the file.
bool CoverFileFinish(CoverFile *cover);

// Removes what has been written, and with it the folder of the media file's covers.
void CoverFileDiscard(CoverFile *cover);
