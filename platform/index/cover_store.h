// SPDX-License-Identifier: GPL-2.0-or-later
//
// Covers as the rules `complete` keep them: a picture is stored once, however many media files have it.
#pragma once

#include <stdint.h>

#include <string>

#include "platform/file_bytes.h"
#include "platform/handle.h"
#include "platform/veluindex.h"

// A picture to be stored.
struct CoverPicture {
    BytesRef content = {};
    int format = 0; // of CoverFormat, or of cover_place.h
};

// Where a picture has been stored, for the next media file that has it. The file is open so that no other one can be taken
// for it.
struct CoverStored {
    std::string path = {};
    FdHandle file = {};
};

// Makes a picture the only cover of a media file. It is a link to a cover with the same bytes: to `stored` where that has been
// filled, by whoever says that it is the same picture; else to any that is found by its content. Where there is none or no link
// can be made it is copied. A cover that is there is replaced by renaming, so that at no time one is missing or half
// written. Returns 0 with `stored` filled, or -1 with one log line; then the file has no cover. Where that is for want of room the
// request is kept.
int CoverStore(const char *media_path, const CoverPicture &picture, CoverStored *stored);
