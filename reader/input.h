// SPDX-License-Identifier: GPL-2.0-or-later
//
// The file that a reader was handed: bytes behind a descriptor, read at offsets only. No library opens anything by itself.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>
#include <string>
#include <vector>

#include "reader/protocol/message.h"

struct ReaderInput {
    int fd = -1;                 // a regular file; the caller's
    int64_t size = 0;            // bytes, when it was handed over
    std::string extension;       // a hint: lower case, without dot, may be empty
    std::string charset;         // of text in single bytes; empty: ISO-8859-1
    std::vector<int> companions; // sidecars
    // The part that was read last.
    std::vector<std::byte> window;
    int64_t window_offset = 0;
    bool failed = false; // to be read, once
};

// Reads at an offset, through the window when the part is small. Returns the bytes read: fewer at the end of the file (what
// lies behind `size`, or before 0, is not there), or where it cannot be read; then `failed` is true from there on.
size_t InputRead(ReaderInput *input, int64_t offset, std::span<std::byte> out);

// Where the cover goes: the slot of the request, or nowhere.
struct PictureSink {
    int fd = -1;
    std::string *small = nullptr; // where one of at most kReaderSmallPictureMax bytes goes; null: there, too
    bool wanted = false;
    PictureFormat format = PictureFormat::none;
    uint32_t bytes = 0;
};

// Takes a picture, if one is wanted, none has been taken, its first bytes are those of a PictureFormat and it is no larger than
// kReaderPictureMax. Returns whether the file has a picture now.
bool PictureTake(PictureSink *sink, std::span<const std::byte> picture);
