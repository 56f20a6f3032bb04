// SPDX-License-Identifier: GPL-2.0-or-later
//
// The stamp of a file (catalogue/file_stamp.h) for people.
#pragma once

#include <string>

// Returns what it says of the file itself: "3.4 MB, written 2026-10-31 12:30:59, changed 2026-10-31 12:31:00". A text that is no
// stamp stays as it is.
std::string StampText(const std::string &stamp);
