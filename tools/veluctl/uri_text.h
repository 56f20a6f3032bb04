// SPDX-License-Identifier: GPL-2.0-or-later
//
// URIs of databases as they may be shown.
#pragma once

#include <string>

// The URI with three asterisks for each password in it, also where it is no good one.
std::string UriWithoutPassword(std::string uri);
