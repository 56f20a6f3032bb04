// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/track_numbers.h"

#include "platform/limits.h"
#include "reader/syntax/boxes.h"

namespace {

// ISO/IEC 14496-12, 8.3.2: version, flags, times of four or of eight bytes, number. libavformat reads it wherever the box ends.
bool IsBelowNought(ReaderInput *input, const Box &header) {
    uint8_t bytes[24] = {};
    InputRead(input, header.begin, std::as_writable_bytes(std::span(bytes)));
    const size_t number_at = bytes[0] == 1 ? 20 : 12;
    return (bytes[number_at] & 0x80) != 0;
}

struct Tracks {
    bool below_nought = false; // some track's number, as a signed one
    bool without = false;      // some track has none
    bool fragments = false;    // they may be in fragments
};

void TrackRead(BoxWalk *walk, const Box &track, Tracks *tracks) {
    Box box;
    for (int64_t at = track.begin; BoxTake(walk, &at, track.end, &box);) {
        if (!box.Is("tkhd"))
            continue;
        tracks->below_nought = tracks->below_nought || IsBelowNought(walk->input, box);
        return; // another one ends the file for libavformat
    }
    tracks->without = true;
}

Tracks TracksOf(ReaderInput *input) {
    BoxWalk walk = {input, kContentBoxesMax};
    Tracks tracks;
    Box movie;
    int64_t at = 0;
    while (BoxTake(&walk, &at, input->size, &movie) && !movie.Is("moov")) {
    }
    Box box;
    for (at = movie.begin; movie.Is("moov") && BoxTake(&walk, &at, movie.end, &box);) {
        tracks.fragments = tracks.fragments || box.Is("mvex");
        if (box.Is("trak"))
            TrackRead(&walk, box, &tracks);
    }
    return tracks;
}

} // namespace

const char *TrackNumberFault(ReaderInput *input) {
    const Tracks tracks = TracksOf(input);
    return tracks.below_nought                  ? "the number of a track is out of bounds"
           : tracks.without && tracks.fragments ? "a track has no number"
                                                : nullptr;
}
