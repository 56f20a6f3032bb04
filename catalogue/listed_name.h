// SPDX-License-Identifier: GPL-2.0-or-later
//
// Storage that takes names in upper and lower case for the same: a file there exists under the name that its directory lists.
#pragma once

// False by the rules `complete` for the path of a file or directory that is there, but under a name in another case. No other
// part of the path is looked at.
[[nodiscard]] bool IsListedName(const char *path);
