// SPDX-License-Identifier: GPL-2.0-or-later
//
// What can be done about a catalogue that cannot be read.
#pragma once

#include <string>
#include <vector>

#include "platform/veluindex.h"

// Returns what stands behind the reason in a sentence, from its semicolon on: a right or a package that is missing, or that the file is
// damaged; an empty text when nobody knows.
std::string CatalogueHint(Catalogue catalogue, const std::string &reason);

// Returns the same about a URI whose engine is not installed, which is known without a reason; an empty text for any other.
std::string ModuleHint(const char *uri);

// Returns the commands by which a damaged file makes way for a new one and is kept aside; none for any other reason.
std::vector<std::string> CatalogueCommands(Catalogue catalogue, const std::string &reason);
