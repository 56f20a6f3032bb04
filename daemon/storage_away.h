// SPDX-License-Identifier: GPL-2.0-or-later
//
// Storage that is away is not deleted: a disk that is not mounted, or a share that leads nowhere, has its rows until it is
// back. A directory counts as away when something was to be mounted at, above or inside it (daemon/storage_mounts), nothing
// is, and it is empty or holds nothing of what the catalogue has below it. A disk that is mounted and empty is empty.
#pragma once

#include <functional>
#include <string>
#include <vector>

// Whether the catalogue has something below a path (`itself`: or at it): 1, or 0; -1 when that cannot be told. Without such
// a function only a directory that is empty, or not there, is away.
using StorageKnows = std::function<int(const std::string &path, bool itself)>;

// The places of a tree whose storage is away: the tree alone when it is itself, else what was mounted inside it, or the
// outermost directory above that which is gone with it. All begin as `tree` does, which has no slash at its end.
std::vector<std::string> StorageAwayIn(const std::string &tree, const StorageKnows &knows);

// True when a path that is not there may be on storage that is away: at or below such a place, or above one. `shares` are
// the targets of shares, which count as ShareAwayIn has it, unless the path is the target itself.
[[nodiscard]] bool StorageIsAway(const std::string &path, const std::vector<std::string> &shares,
                                 const StorageKnows &knows);

// True when what is at a path lies in the place of storage that is away. Once such a file had a row, the storage would count
// as there.
[[nodiscard]] bool StorageIsBelowAway(const std::string &path, const std::vector<std::string> &shares,
                                      const StorageKnows &knows);

// The same as StorageAwayIn of a share, which is also away when its target is no directory.
std::vector<std::string> ShareAwayIn(const std::string &target, const StorageKnows &knows);
