// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/mp4_fragments.h"

#include "platform/limits.h"

namespace {

struct Defaults {
    uint64_t duration = 0; // of a sample
    uint64_t size = 0;
};

// "trex" of the track: what counts where fragments say nothing.
Defaults MovieDefaults(BoxWalk *walk, const Box &moov, uint64_t track) {
    const std::optional<Box> mvex = Mp4BoxFind(walk, moov, {"mvex"});
    Box box;
    for (int64_t at = mvex ? mvex->begin : 0; mvex && BoxTake(walk, &at, mvex->end, &box);) {
        if (!box.Is("trex"))
            continue;
        const SoundBytes bytes = Mp4BoxRead(walk, box, 20);
        Cursor cursor{bytes.View()};
        Take(&cursor, 4);
        if (TakeBig(&cursor, 4) != track)
            continue;
        Take(&cursor, 4);
        const uint64_t duration = TakeBig(&cursor, 4);
        return {duration, TakeBig(&cursor, 4)};
    }
    return {};
}

// "tfhd". Returns false when the fragment is another track's.
bool FragmentDefaults(Bytes header, uint64_t track, Defaults *defaults) {
    Cursor cursor{header};
    const uint64_t flags = TakeBig(&cursor, 4);
    if (TakeBig(&cursor, 4) != track)
        return false;
    Take(&cursor, ((flags & 0x1) != 0 ? 8 : 0) + ((flags & 0x2) != 0 ? 4 : 0));
    if ((flags & 0x8) != 0)
        defaults->duration = TakeBig(&cursor, 4);
    if ((flags & 0x10) != 0)
        defaults->size = TakeBig(&cursor, 4);
    return true;
}

// "trun".
void SamplesAdd(Bytes run, const Defaults &defaults, Mp4Track *track) {
    Cursor cursor{run};
    const uint64_t flags = TakeBig(&cursor, 4);
    const uint64_t count = TakeBig(&cursor, 4);
    Take(&cursor, ((flags & 0x1) != 0 ? 4 : 0) + ((flags & 0x4) != 0 ? 4 : 0));
    if ((flags & 0x300) == 0) {
        const uint64_t samples = std::min<uint64_t>(count, kSoundSamplesMax);
        track->duration += samples * defaults.duration;
        track->bytes += samples * defaults.size;
        return;
    }
    for (uint64_t i = 0; i < count && !cursor.rest.empty(); ++i) {
        track->duration += (flags & 0x100) != 0 ? TakeBig(&cursor, 4) : defaults.duration;
        track->bytes += (flags & 0x200) != 0 ? TakeBig(&cursor, 4) : defaults.size;
        Take(&cursor, ((flags & 0x400) != 0 ? 4 : 0) + ((flags & 0x800) != 0 ? 4 : 0));
    }
}

void TrackFragmentAdd(BoxWalk *walk, const Box &fragment, Defaults defaults, Mp4Track *track) {
    // Sixteen bytes at most for each of the samples of a fragment, which has some seconds.
    constexpr int64_t kRunMax = 1024 * 1024;
    Box box;
    bool ours = false;
    for (int64_t at = fragment.begin; BoxTake(walk, &at, fragment.end, &box);) {
        if (box.Is("tfhd"))
            ours = FragmentDefaults(Mp4BoxRead(walk, box, 32).View(), track->id, &defaults);
        else if (box.Is("trun") && ours)
            SamplesAdd(Mp4BoxRead(walk, box, kRunMax).View(), defaults, track);
    }
}

} // namespace

void Mp4FragmentsAdd(BoxWalk *walk, const Box &moov, Mp4Track *track) {
    const Defaults defaults = MovieDefaults(walk, moov, track->id);
    Box box;
    Box fragment;
    for (int64_t at = moov.end; BoxTake(walk, &at, walk->input->size, &box);) {
        if (!box.Is("moof"))
            continue;
        for (int64_t inside = box.begin; BoxTake(walk, &inside, box.end, &fragment);) {
            if (fragment.Is("traf"))
                TrackFragmentAdd(walk, fragment, defaults, track);
        }
    }
}
