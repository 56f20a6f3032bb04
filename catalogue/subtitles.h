// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which films the subtitles beside them belong to: those whose names they begin with.
#pragma once

#include <list>
#include <string>
#include <string_view>
#include <vector>

// True for the name of a file with subtitles, by the rules that hold.
[[nodiscard]] bool IsSubtitle(std::string_view name);

// The names in the directories that were asked about last. What comes later does not show: a walk comes to each directory once,
// and forgets all of it at its end.
struct KnownSubtitles {
    struct Directory {
        std::string path;
        std::vector<std::string> subtitles = {}; // sorted
        std::vector<std::string> others = {};    // what may be a film, where there are subtitles
        bool unseen = false;                     // there may be more of either
    };
    std::list<Directory> directories = {}; // the last one first
};

// Returns the paths of the subtitles beside a film, sorted. A name belongs to the longest name of a film that it begins with,
// extensions apart, and goes on behind it with neither letter nor digit. `known`, unless null, is used and added to.
// `unseen` becomes true when there may be more of them.
std::vector<std::string> SubtitlesOf(const std::string &film, KnownSubtitles *known, bool *unseen);

// Returns the paths of what may be the films of a subtitle: all files whose names it begins with.
std::vector<std::string> FilmsOf(const std::string &subtitle);
