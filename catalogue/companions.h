// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which pictures and films in a directory were taken together, as their names say it (catalogue/companion_names).
#pragma once

#include <stdint.h>

#include <list>
#include <string>
#include <vector>

#include "catalogue/names_age.h"

// The names in the directories that were asked about last. A walk comes to each directory once, and forgets all of it at its end.
struct KnownCompanions {
    // A name among `names`, by what it shares with others.
    struct Place {
        uint32_t shared;
        uint32_t at;
    };
    struct Directory {
        std::string path;
        NamesAge age = {};
        std::string names = {}; // of files that were taken with others, each with a zero behind it
        std::vector<Place> places = {};
        bool whole = false;    // names that share nothing with others so far are there, too
        bool sidecars = false; // there are some, of any file
        bool unseen = false;   // there may be more
        bool walked = false;
    };
    std::list<Directory> directories = {}; // the last one first
};

// Returns the paths of the files beside one, be it there or not, that were taken with it, sorted: those of its stem that are of
// another kind, and of its series the one that is shown, or, where it is that itself, all others. With `ahead` it is there, and its
// directory is looked at once, because others of it will follow. `unseen` becomes true when there may be more of them.
std::vector<std::string> CompanionsOf(KnownCompanions *known, const std::string &path, bool ahead,
                                      bool *unseen);

// False for a file that is there and has no sidecars for certain (catalogue/sidecars). Its directory is looked at once, and for
// both, because others of it will follow.
[[nodiscard]] bool MayHaveSidecars(KnownCompanions *known, const std::string &path);
