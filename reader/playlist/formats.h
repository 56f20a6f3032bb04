// SPDX-License-Identifier: GPL-2.0-or-later
//
// The formats of playlists. None of them has a standard that all players keep, so that each is read as they write it: what is not
// understood is passed over.
#pragma once

#include <string>
#include <string_view>

#include "reader/protocol/entry_list.h"
#include "reader/protocol/fact_list.h"

struct PlaylistOut {
    FactList *facts;
    EntryList *entries;
    std::string charset; // of text that is not UTF-8
};

// Add what a text holds: to the entries what it names, to the facts what it says of itself.
void M3uRead(std::string_view text,
             PlaylistOut *out); // a line an entry, lines that begin with "#" say something else
void PlsRead(std::string_view text, PlaylistOut *out);  // "File1=..."; also the oldest ASX, "Ref1=..."
void CueRead(std::string_view text, PlaylistOut *out);  // FILE "..." WAVE
void XspfRead(std::string_view text, PlaylistOut *out); // locations, with their percent coding taken out
void WplRead(std::string_view text, PlaylistOut *out);
void AsxRead(std::string_view text, PlaylistOut *out);

// Adds an entry, or a fact, that is written so in the text.
void PlaylistEntryAdd(PlaylistOut *out, std::string_view written);
void PlaylistFactAdd(PlaylistOut *out, FactName name, std::string_view written);
