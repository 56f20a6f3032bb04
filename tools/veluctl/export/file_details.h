// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the catalogue keeps of files beside their rows, for many files at once.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tools/veluctl/catalogue_reader.h"

struct FileDetails {
    std::string added;
    std::string trouble;
    std::vector<std::pair<std::string, std::string>>
        facts; // names and values, in the order of names and positions
};
using FileDetailsOf = std::map<std::string, FileDetails>; // by path

// False, with the reason in the reader, when the catalogue cannot be read.
[[nodiscard]] bool FileDetailsRead(CatalogueReader *reader, const std::vector<std::string> &paths,
                                   FileDetailsOf *known);
