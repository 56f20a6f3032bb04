// SPDX-License-Identifier: GPL-2.0-or-later
//
// The libraries of this program. The reader is one source; which libraries are in it, and so what it reads, is decided by the one
// of library_*.cpp that it is linked with.
#pragma once

#include "reader/readers.h"

extern const ReaderKind kLibraryKind;

// Loads what the libraries would look for later, while files can still be opened.
void LibraryWarm();

// Reads a file whose content is of this program's kind, or of none that is known.
ReadOutcome LibraryRead(ReaderInput *input, ContentFormat format, FactList *facts, PictureSink *picture);

// Reads a playlist, if this program has what that takes.
ReadOutcome LibraryPlaylistRead(ReaderInput *input, FactList *facts, EntryList *entries);
