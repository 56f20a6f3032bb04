// SPDX-License-Identifier: GPL-2.0-or-later
//
// URIs of databases as they may be shown.
#pragma once

#include <string>

// Returns the URI with three asterisks in the place of each password, also when it is no well-formed URI.
std::string UriWithoutPassword(std::string uri);
