// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whom catalogues and covers are for by the rules `complete`: their owner and a group, and nobody else.
#pragma once

#include <sys/types.h>

inline constexpr char kOwnGroup[] = "velu";

// Lets what this process makes from now on belong to the group, where the rules that hold want it, there is the group and the
// process may; and gives it the folder that is the daemon's own. To be called once it is known which rules hold.
void OwnGroupTake();

// True once that has been done.
[[nodiscard]] bool OwnGroupHolds();

// The modes of what is made: without the group everybody may read it.
mode_t OwnFileMode();
mode_t OwnFolderMode();

// Gives a file or folder of ours that was there before the group and its mode, if the group holds. Links, and what belongs to
// another user, stay as they are.
void OwnGroupGive(const char *path);
