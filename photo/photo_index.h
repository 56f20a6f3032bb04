// SPDX-License-Identifier: GPL-2.0-or-later
//
// The photo library's row of one file.
#pragma once

// Handles one file event of the photo share: mode 1 add, 2 delete, 5 update. Returns 0 when handled, -1 when
// the file is not the photo library's or the arguments are bad.
int PhotoLibraryFileUpdate(const char *path, int mode);
