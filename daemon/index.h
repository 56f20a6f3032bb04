// SPDX-License-Identifier: GPL-2.0-or-later
//
// The entry to the indexers: one file or directory is added to or removed from the media catalogue, the
// indexer being chosen by the extension.
#pragma once

#include "catalogue/file_readers.h"
#include "catalogue/indexers.h"
#include "daemon/walk_rules.h"
#include "platform/veluindex.h"

struct IndexHandler {
    const char *extension;
    Indexer indexer;
};

// All extensions that are indexed, in the order in which they are looked up, ended by a row without one; and those that only
// the rules `complete` know.
extern const IndexHandler IndexHandlerTable[];
extern const IndexHandler CompleteHandlerTable[];

// Returns the row of an extension (compared without case), or null for one that is not indexed by the rules that hold.
const IndexHandler *IndexHandlerFind(const char *extension);

// True for the extension of a file that has a row, or gives values to those beside it.
[[nodiscard]] bool IsExtensionOfUse(const char *extension);

// Returns the row of a path's extension, or null for a file that no indexer takes.
const IndexHandler *IndexHandlerOf(const char *path);

// True when the rules leave out a path that a request names: a walk from its share would not come to it. It is
// counted.
[[nodiscard]] bool IsLeftOutPath(const char *path);

// Returns why no indexer takes a file, by its name; nothing when one does.
LeftOut FileLeftOut(const char *path);

// True for the path of a file that an add hands to an indexer.
[[nodiscard]] bool IsIndexedPath(const char *path);

// Hands a file to a reader before its turn, where it is one that an add hands to a reader. Returns its ticket, which is to be
// given up behind its turn (FileGiveUp), kUnchangedTicket, or 0.
ReadTicket IndexFileHandOver(const char *path);

// Brings what is known of a film in step with subtitles that have come to or gone from a path, if it is one of subtitles.
void SubtitleFilmsUpdate(const char *path);

// Adds (mode kIndexAdd) or removes (kIndexRemove) one entry, under the rules `complete` also one that no indexer takes. Returns 0 when done or when there is nothing to
// do, -1 on failure, otherwise the indexer's result. Files whose name begins with "._" (companions that hold
// resource forks) are never added. A file whose metadata could not be read is reported to the event log and
// counts as a failure, though its row is saved.
int IndexFileAdd(const char *path, int mode);
