// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whether something is gone, or only out of sight. What is out of sight is not forgotten.
#pragma once

#include <sys/types.h>

// True when nothing is known to be missing at the path: it is there, or it cannot be looked at (`*error` says why then, else
// 0). A link is what it leads to.
[[nodiscard]] bool MayBeThere(const char *path, int *error);

// True when the entry itself can be looked at, wherever it leads. One that cannot be, when its turn in a walk comes, is no
// file.
[[nodiscard]] bool IsSeen(const char *path);

// What has become of a file whose name a walk has just read, and which was not saved.
enum class MetFile {
    there,
    unreadable, // it cannot be looked at, opened or read
    gone,       // a link that leads to nothing, or no file
};

// Looks at it, and reads its begin and its end. `size` receives that of a file that is there.
MetFile MetFileLook(const char *path, off_t *size);
