// SPDX-License-Identifier: GPL-2.0-or-later
//
// How paths lie to each other, by their bytes alone: no link is followed and no "." or ".." taken out.
#pragma once

#include <string>
#include <string_view>

// The last component of a path less its extension, which begins at the last dot: the title of a file that nobody has
// given one.
[[nodiscard]] constexpr std::string_view NameWithoutExtension(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    return name.substr(0, name.rfind('.'));
}

// The path less the slashes at its end, so that the root is the empty text.
[[nodiscard]] constexpr std::string_view PathWithoutEndSlashes(std::string_view path) {
    while (path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

// The path less the slashes at its end, but the root keeps one.
[[nodiscard]] constexpr std::string_view PathOfDirectory(std::string_view path) {
    const std::string_view cut = PathWithoutEndSlashes(path);
    return cut.empty() ? path.substr(0, 1) : cut;
}

// True for a path below a directory, at any depth. The directory has no slash at its end, so that the root is the
// empty text, and everything absolute lies under it.
[[nodiscard]] constexpr bool PathIsUnder(std::string_view path, std::string_view directory) {
    return path.starts_with(directory) && path.size() > directory.size() && path[directory.size()] == '/';
}

// True for the directory itself and for a path below it.
[[nodiscard]] constexpr bool PathIsAtOrUnder(std::string_view path, std::string_view directory) {
    return path == directory || PathIsUnder(path, directory);
}

// Of all paths in their bytewise order, those below a directory: from `low` on, before `high`.
struct PathRange {
    std::string low;
    std::string high;
};

// No path has a smaller byte: with it behind a path begins what comes after that in this order.
inline constexpr char kLeastPathByte = '\x01';

[[nodiscard]] inline PathRange RangeUnder(const std::string &directory) {
    constexpr char kBehindSlash = '/' + 1;
    return {directory + '/', directory + kBehindSlash};
}
