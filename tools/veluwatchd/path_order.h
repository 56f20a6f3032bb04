// SPDX-License-Identifier: GPL-2.0-or-later
//
// Paths in an order in which what lies below a directory follows it at once.
#pragma once

#include <string>
#include <string_view>

#include "platform/path.h"

// Bytewise, but with the slash in front of all others: "a" < "a/b" < "a!".
struct PathLess {
    using is_transparent = void;
    bool operator()(std::string_view left, std::string_view right) const;
};

// True for what lies below the directory, at any depth; nothing lies below none.
[[nodiscard]] inline bool IsBelow(std::string_view path, std::string_view directory) {
    return !directory.empty() && PathIsUnder(path, directory);
}

// Calls `visit` with each directory above a path, from the innermost to the outermost, until it gives true.
// Gives whether it did.
template <typename Visit>
bool AnyAbove(std::string_view path, Visit visit) {
    for (size_t slash = path.rfind('/'); slash != std::string_view::npos && slash > 0;
         slash = path.rfind('/', slash - 1)) {
        if (visit(path.substr(0, slash)))
            return true;
    }
    return false;
}
