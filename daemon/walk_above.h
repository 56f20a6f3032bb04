// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a path is left out for that lies above it: a walk from a share down would never come to it.
#pragma once

#include <string_view>

#include "daemon/walk_ignore.h"
#include "daemon/walk_rules.h"

// Why a walk does not come to a path, and the bytes of the part of it that is left out, or of the directory that is marked.
struct LeftOutAt {
    LeftOut why = LeftOut::nothing;
    size_t size = 0;
};

// Returns why a walk from the path's share down would not come to it, whether or not that holds for requests that name it.
LeftOutAt WalkLeftOut(const NameRules &rules, std::string_view path, bool is_directory, IgnoreRules *ignore);

// Returns why the rules leave out a path for the names below its share, its own among them, or for what one of its
// directories holds. Rules that do not hold for them leave out nothing. `ignore` gets the patterns of the directories above the
// path.
LeftOut PathLeftOut(const NameRules &rules, std::string_view path, bool is_directory, IgnoreRules *ignore);
