// SPDX-License-Identifier: GPL-2.0-or-later
//
// The libraries of the field, one entry each: from the bytes of a file to facts. They read through ReaderInput alone, keep no state
// between files, throw nothing, and end when their bounds are reached.
#pragma once

#include "reader/content/content.h"
#include "reader/input.h"
#include "reader/protocol/fact_list.h"

struct ReadOutcome {
    AnswerStatus status = AnswerStatus::failed;
    ContentClass content = ContentClass::unknown;
    std::string reason; // of a failure
};

// TagLib: sound. `format` is what the content is.
ReadOutcome SoundFactsRead(ReaderInput *input, ContentFormat format, FactList *facts, PictureSink *picture);
// Exiv2: pictures.
ReadOutcome PhotoFactsRead(ReaderInput *input, ContentFormat format, FactList *facts);
// libavformat: films, and sound that TagLib does not know.
ReadOutcome FilmFactsRead(ReaderInput *input, ContentFormat format, FactList *facts, PictureSink *picture);

// What a playlist names, and says of itself.
ReadOutcome PlaylistEntriesRead(ReaderInput *input, FactList *facts, EntryList *entries);

// Load what the libraries would look for later (code pages, tables), while files can still be opened.
void SoundReaderWarm();
void PhotoReaderWarm();
void FilmReaderWarm();
void PlaylistReaderWarm();
