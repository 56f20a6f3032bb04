// SPDX-License-Identifier: GPL-2.0-or-later
//
// ID3v2.2, 2.3 and 2.4 (id3.org) as writers have made them: the frames of a tag, as they were before they were
// compressed or unsynchronised.
#pragma once

#include <string>
#include <vector>

#include "reader/sound/sound_bytes.h"

struct Id3Frame {
    std::string id; // four characters, those of version 2.4 where it has the frame
    Bytes data;     // in the tag's memory
};

struct Id3Tag {
    int version = 0;
    SoundBytes bytes;
    std::vector<SoundBytes> unpacked; // of frames that were not plain
    std::vector<Id3Frame> frames;
};

inline constexpr size_t kId3HeaderSize = 10;

// Returns the bytes that the tag whose header this is takes in all, 0 when it is none.
int64_t Id3v2Size(Bytes header);

// Returns the same of the tag that the ten bytes are the footer of (version 2.4).
int64_t Id3v2SizeOfFooter(Bytes footer);

// Reads the tag at an offset; without frames when there is none.
Id3Tag Id3v2Read(ReaderInput *input, int64_t offset);
