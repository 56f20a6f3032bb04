// SPDX-License-Identifier: GPL-2.0-or-later
//
// Directories in the media catalogue.
#pragma once

// Records a directory. Returns 0, or -1 for a missing path, one that is not a directory (silent), or a failed
// save.
int DirectoryAdd(const char *path);
