// SPDX-License-Identifier: GPL-2.0-or-later
//
// Where the media shares are reached.
#pragma once

#include <stddef.h>

#include <string>
#include <vector>

// Symbolic links to the share directories on their volumes.
inline constexpr char kMusicShareLink[] = "/var/services/music";
inline constexpr char kVideoShareLink[] = "/var/services/video";
inline constexpr char kPhotoShareLink[] = "/var/services/photo";

inline constexpr const char *kShareLinks[] = {kMusicShareLink, kVideoShareLink, kPhotoShareLink};

// The longest path of a share directory, terminator included.
inline constexpr size_t kSharePathSize = 4096;

// Gets the directory that a share's link names, without a slash at its end, as the paths of rows begin; by the rules `complete`
// where that is a link itself, what it leads to. False when there is no such link.
[[nodiscard]] bool ShareTargetGet(const char *link, char (&target)[kSharePathSize]);

// Those of all shares that there are.
std::vector<std::string> ShareTargetsGet();
