// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/overview/track_gaps.h"

#include <algorithm>

#include "platform/path.h"

void TrackGaps::Add(const AlbumTrack &track) {
    const std::string directory = track.path.substr(0, std::min(track.path.rfind('/'), track.path.size()));
    while (!directories_.empty() && !PathIsAtOrUnder(directory, directories_.back().path))
        Leave();
    if (track.track < 1 || track.track > kTrackMax)
        return;
    if (directories_.empty() || directories_.back().path != directory)
        directories_.push_back({directory});
    Disc &disc = directories_.back().discs[{track.album, track.disc}];
    disc.several_artists = disc.several_artists || (!disc.tracks.empty() && disc.artist != track.artist);
    disc.artist = track.artist;
    disc.tracks.insert(track.track);
    if (track.total <= kTrackMax)
        disc.total = std::max(disc.total, track.total);
}

void TrackGaps::End() {
    while (!directories_.empty())
        Leave();
}

void TrackGaps::Leave() {
    const Directory &directory = directories_.back();
    for (const auto &[album, disc] : directory.discs) {
        const int last = std::max(disc.total, *disc.tracks.rbegin());
        std::string missing = disc.tracks.size() > 1 ? NumbersMissing(disc.tracks, last) : std::string();
        if (!missing.empty())
            take_({directory.path, album.first, disc.several_artists ? std::string() : disc.artist,
                   album.second, disc.tracks.size(), last, std::move(missing)});
    }
    directories_.pop_back();
}

std::string NumbersMissing(const std::set<int> &numbers, int last) {
    std::string text;
    const auto put = [&](int from, int to) {
        if (from <= to)
            text.append(text.empty() ? "" : ", ").append(std::to_string(from));
        if (from < to)
            text.append("-").append(std::to_string(to));
    };
    int next = 1;
    for (const int number : numbers) {
        put(next, std::min(number - 1, last));
        next = number + 1;
    }
    put(next, last);
    return text;
}
