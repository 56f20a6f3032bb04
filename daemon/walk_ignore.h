// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files by which people say what of a directory is not to be catalogued: a pattern a line, as git has them (gitignore(5)).
// "*" and "?" stand for any text and any character of a name, "**" between slashes for any directories, a backslash takes
// the meaning of the byte behind it. A pattern with a slash in front or within means a path below the file's directory, any other
// an entry's name at any depth; with a slash at the end only directories. "!" in front takes back what a pattern above said, "#"
// begins a comment. The last pattern that matches decides, those of deeper directories behind those of the ones above. What
// lies in a directory that is left out is never looked at.
#pragma once

#include <stddef.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct IgnorePattern {
    std::string text = {};    // as written, less what the others say
    bool is_path = false;     // from the file's directory on, not an entry's name
    bool directories = false; // nothing else
    bool takes_back = false;
    size_t line = 0; // of its file, the first is 1
};

// The files on the way to where a walk is, the outermost first.
struct IgnoreRules {
    struct File {
        size_t directory_size; // of its directory's path, in bytes
        std::vector<IgnorePattern> patterns;
    };
    std::vector<File> files = {};
    size_t patterns = 0; // of all of them
    bool tells = true;   // a line of each file that cannot be used whole
};

// Returns the patterns of a file's text. One that is longer than kIgnorePatternMax is none; behind `most` of them nothing is
// read. `whole`, unless null, tells whether all counts.
std::vector<IgnorePattern> IgnorePatternsOf(std::string_view text, size_t most, bool *whole = nullptr);

// True when a pattern matches a path, relative to the directory of its file.
[[nodiscard]] bool IgnoreMatches(const IgnorePattern &pattern, std::string_view path);

// Add the patterns of the file `name` in a directory, if there is one, for the paths below that; a null name is none. A file
// that cannot be used whole has a line. And take away those of directories at least as long.
void IgnoreEnter(IgnoreRules *rules, const char *name, std::string_view directory);
void IgnoreLeave(IgnoreRules *rules, size_t directory_size);

// What the patterns of one file say of a path below its directory: whether it is left out; nothing when none matches.
std::optional<bool> IgnoreVerdict(const std::vector<IgnorePattern> &patterns, std::string_view path,
                                  bool is_directory);

// The pattern that decides about an entry, and the bytes of its directory's path; null: none matches.
struct IgnoreDecision {
    const IgnorePattern *pattern = nullptr;
    size_t directory_size = 0;
};

// Returns what decides about an entry, whose path lies below the directories of all patterns.
IgnoreDecision IgnoreDecide(const IgnoreRules &rules, std::string_view path, bool is_directory);

// True when the patterns leave it out.
[[nodiscard]] bool IsIgnored(const IgnoreRules &rules, std::string_view path, bool is_directory);
