// SPDX-License-Identifier: GPL-2.0-or-later
//
// What may have been done to an ID3v2 frame, and undoing it.
#pragma once

#include "reader/sound/sound_bytes.h"

struct Id3Packing {
    size_t before = 0;   // bytes in front of the data: group, encryption
    bool length = false; // then four bytes with the length of the data
    bool unsynchronised = false;
    bool compressed = false;
    bool encrypted = false;

    bool IsPlain() const { return before == 0 && !length && !unsynchronised && !compressed; }
};

// Returns what the flags of a frame's format say. `unsynchronised` is the tag's own flag, of version 2.4.
Id3Packing Id3PackingOf(int version, uint8_t flags, bool unsynchronised);

// Returns the data of a frame, nothing when they are damaged. `room` is what may still be unpacked of this tag.
SoundBytes Id3Unpack(Bytes stored, const Id3Packing &packing, size_t *room);

// Returns data without the NULs that unsynchronisation has put behind each 0xFF.
SoundBytes Id3Synchronise(Bytes data);
