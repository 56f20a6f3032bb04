// SPDX-License-Identifier: GPL-2.0-or-later
//
// The spool of hand-overs: what users typed, from the moment in which its file is taken away until its row is on the disk. It
// is read only for requests that are carried out again, and costs nothing where nobody hands over anything.
#pragma once

#include <functional>
#include <string>
#include <vector>

// Brings the text of an attribute of a file or directory safely to the disk, in the place of an older one. False, with errno
// set, when that is not possible.
[[nodiscard]] bool HandOverSpoolAdd(const char *path, const char *attribute, const char *text);

// Says whether the requests from here on may have been carried out before, wholly or in part.
void HandOverSpoolAgain(bool again);

// The text that such a request has to bring to its row, or null. Valid until the next call of these operations.
const std::string *HandOverSpoolFind(const char *path, const char *attribute);

// Follows a rename of a file or directory. A request that is carried out again leaves the texts of what is still at its old
// place.
void HandOverSpoolRename(const char *new_path, const char *old_path);

// What has texts for such a request, at a path or under it.
std::vector<std::string> HandOverSpoolPaths(const char *path);

// Forgets the texts of all paths but those to `keep`, for which a request is still to be carried out; without `keep`, all.
// To be called when the rows of a run are on the disk.
void HandOverSpoolSettle(const std::function<bool(const std::string &path)> &keep);
