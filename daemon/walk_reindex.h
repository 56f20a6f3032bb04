// SPDX-License-Identifier: GPL-2.0-or-later
//
// Taking the media rows of a share, or of a tree in one, anew.
#pragma once

#include <string>

// Indexes the tree of a share and removes every row in it that was not saved by that, each directory's once it has been read
// to its end, so that at no time fewer rows are there than files. What could not be read, looked at or saved keeps its rows,
// and so does what lies on storage that is away; a line names each such place. A file that is left out, or of which no
// indexer makes a row, loses it. What is mounted is remembered.
void TreeReindex(const char *target);

// The same of any tree, of which nothing is remembered.
void SubTreeReindex(const char *path);

// What the media catalogue knows, as the storage module asks for it.
int MediaKnows(const std::string &path, bool itself);

// Logs that the storage of a place is away.
void AwayTell(const std::string &place, int line = __builtin_LINE());
