// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the operations that remove rows have to do for a rename that goes on (FileMove).
#pragma once

#include <string>

// To be called before the media rows at and below a path are removed.
void FileMoveTakeAlong(const std::string &path);
