// SPDX-License-Identifier: GPL-2.0-or-later
//
// From changes to the lines of the queue.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "tools/veluwatchd/changes.h"

enum class PathKind { gone, file, directory };

struct PathState {
    PathKind kind = PathKind::gone;
    double age = 0; // seconds since a file was written to; negative when it is not known
};

struct PlanSettings {
    std::function<PathState(const std::string &)> look; // at the disk
    // Returns the word by which "R" knows the watched share at a path, empty when it has none; nothing for
    // any other path.
    std::function<std::optional<std::string>(const std::string &)> share_word;
    std::function<void(const std::string &path, const std::string &why)> refuse;
    std::chrono::duration<double> settle;
    bool everything = false; // also what has not come to rest
};

// Takes the changes that have come to rest out of `changes`, into its `asked`. Gives the lines.
std::string RequestPlanMake(Changes *changes, WatchTime now, const PlanSettings &settings);
