// SPDX-License-Identifier: GPL-2.0-or-later
//
// Paths as the catalogue has them: absolute, and through the shares' real directories.
#pragma once

#include <string>
#include <string_view>

// Makes a path absolute. Doubled slashes, "." and slashes at the end go; what stands before a ".." is
// resolved, because ".." of a link is not where its name says. A path through a share's link
// (/var/services/music) begins with the link's target instead, since that is how rows begin. No other link is
// resolved, least of all the last: rows carry the path by which the walk came. Empty, with the reason in
// errno, when that is not possible.
std::string RequestPathMake(std::string_view path);

// Gives the directory above a path; "/" for one right below it.
std::string ParentOf(const std::string &path);
