// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the configuration says of the readers of a run. What it says wrong costs a line.
#pragma once

#include <string>

// Returns how many there may be at once, at most kReadersMax.
int ReadersMax();

// Returns the character set of tags in single bytes that are not UTF-8: the one that is configured, else that of the locale that
// this program was started in. Empty: neither says anything, and ISO-8859-1 holds.
std::string TagCharset();
