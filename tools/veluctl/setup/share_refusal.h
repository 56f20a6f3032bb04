// SPDX-License-Identifier: GPL-2.0-or-later
//
// What keeps a folder from being a share, and shares from being indexed.
#pragma once

#include <optional>
#include <string>
#include <vector>

// The names that shares have; the daemon knows no others.
std::vector<const char *> ShareNames();

// Returns the link of a share's name; null for any other name.
const char *ShareLinkOf(const std::string &name);

// Returns why there is nothing to be indexed anew under a word of the queue (a share's name, or all), as the end of a sentence;
// nothing when there is a share.
std::optional<std::string> ReindexRefusal(const std::string &word);

// Returns why a folder, whose path begins with a slash, cannot be the share of that name, as the end of a sentence; nothing when it
// can.
std::optional<std::string> ShareRefusal(const std::string &name, const std::string &path);
