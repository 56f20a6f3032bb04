// SPDX-License-Identifier: GPL-2.0-or-later
//
// Where a walk through a tree stands, so that links to directories are followed and every walk ends.
#pragma once

#include <stddef.h>
#include <sys/types.h>

#include <set>
#include <utility>
#include <vector>

struct WalkTrail {
    struct Step {
        dev_t device;
        ino_t inode;
        bool linked; // reached through a link, or below a directory that was
    };
    std::vector<Step> steps; // the directories that the walk is in, the innermost last
    // Directories that a link below another link led into, and how often one of them was entered so again.
    std::set<std::pair<dev_t, ino_t>> linked_from_links;
    size_t entered_again = 0;
};

enum class TrailStep {
    entered,
    left_out, // a directory that the walk is in already, one of the kernel's own trees, or, beyond
              // kWalkEnteredAgainMax, one that was entered from below another link before
    failed,   // errno tells why
};

// Makes an open directory, reached `by_link` or not, the innermost one; all but `entered` changes nothing.
[[nodiscard]] TrailStep WalkTrailEnter(WalkTrail *trail, int directory, bool by_link);

// Leaves the innermost directory.
void WalkTrailLeave(WalkTrail *trail);
