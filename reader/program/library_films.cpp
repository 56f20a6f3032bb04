// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of films, and of sound that the other one does not know.
#include "reader/program/library.h"

const ReaderKind kLibraryKind = ReaderKind::films;

void LibraryWarm() {
    FilmReaderWarm();
}

ReadOutcome LibraryRead(ReaderInput *input, ContentFormat format, FactList *facts, PictureSink *picture) {
    return FilmFactsRead(input, format, facts, picture);
}

// A playlist that is named as a film.
ReadOutcome LibraryPlaylistRead(ReaderInput * /*input*/, FactList * /*facts*/, EntryList * /*entries*/) {
    return {AnswerStatus::read, ContentClass::playlist, {}};
}
