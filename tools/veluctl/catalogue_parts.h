// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the media catalogue would hold of a file, which is read for that, and changes nothing there.
#pragma once

#include <string>

#include "catalogue/file_readers.h"
#include "tools/veluctl/file_facts.h"

// Returns the row with its table, and the facts; or why there would be none. `report` is what its reader says of the file, which counts
// by the rules `complete`. A cover is kept where this process keeps covers, for the moment.
FileParts CatalogueParts(const std::string &path, const FileReport &report);
