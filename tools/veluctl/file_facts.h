// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the media catalogue keeps of files beside their rows, by the rules `complete`.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/record_print.h"

// Returns 1 when the catalogue has such tables and 0 when it has none; -1, with the reason in the reader, when that cannot be told.
int FileTablesLook(CatalogueReader *reader);

// The columns of the parts are named by texts of `names`, which never move.
struct FileParts {
    std::deque<std::string> names;
    std::vector<RecordPart> parts;
};

// Adds a value of a fact to a part, behind those of the same name if they come one after the other.
void FactPut(FileParts *all, RecordPart *part, std::string name, std::string value);

// Returns the state of a file and its facts, those that there are; several values of a fact are joined by "; ". False, with the
// reason in the reader, when the catalogue cannot be read.
[[nodiscard]] bool FilePartsRead(CatalogueReader *reader, const std::string &path, FileParts *parts);
