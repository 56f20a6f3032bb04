// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which tracks albums lack. An album is what lies in one directory under one title.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct AlbumTrack {
    std::string path;
    std::string album;
    std::string artist;
    int disc = 0;
    int track = 0; // above 0
    int total = 0; // of the disc's tracks, as a tag has it; 0: none has
};

struct AlbumGaps {
    std::string directory;
    std::string album;
    std::string artist; // that all its tracks have; empty: they differ
    int disc = 0;
    size_t present = 0;       // tracks
    int last = 0;             // number that it should have
    std::string missing = {}; // "3, 7-9"
};

using AlbumGapsTake = std::function<void(const AlbumGaps &gaps)>;

// Tracks come in the bytewise order of their paths, and each album is told when its directory is left, if it lacks tracks up to its
// last or to its total. One track alone is no album, and a number above kTrackMax no track's.
class TrackGaps {
public:
    explicit TrackGaps(AlbumGapsTake take) : take_(std::move(take)) {}
    void Add(const AlbumTrack &track);
    void End();

private:
    struct Disc {
        std::set<int> tracks;
        std::string artist;
        bool several_artists = false;
        int total = 0;
    };
    struct Directory {
        std::string path;
        std::map<std::pair<std::string, int>, Disc> discs = {}; // by album and number
    };

    void Leave();

    AlbumGapsTake take_;
    std::vector<Directory> directories_; // that the paths are in, the innermost last
};

inline constexpr int kTrackMax = 999;

// Returns the numbers from 1 to `last` that are not among those: "3, 7-9"; empty when none is missing.
std::string NumbersMissing(const std::set<int> &numbers, int last);
