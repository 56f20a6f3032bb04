// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of sound, photos and playlists.
#include "reader/program/library.h"

const ReaderKind kLibraryKind = ReaderKind::sound_and_photos;

void LibraryWarm() {
    SoundReaderWarm();
    PhotoReaderWarm();
    PlaylistReaderWarm();
}

ReadOutcome LibraryRead(ReaderInput *input, ContentFormat format, FactList *facts, PictureSink *picture) {
    return ContentClassOf(format) == ContentClass::picture ? PhotoFactsRead(input, format, facts)
                                                           : SoundFactsRead(input, format, facts, picture);
}

ReadOutcome LibraryPlaylistRead(ReaderInput *input, FactList *facts, EntryList *entries) {
    return PlaylistEntriesRead(input, facts, entries);
}
