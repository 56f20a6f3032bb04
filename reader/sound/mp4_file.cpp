// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/mp4_file.h"

#include "platform/limits.h"
#include "reader/sound/mp4_fragments.h"
#include "reader/sound/mp4_items.h"
#include "reader/sound/mp4_track.h"
#include "reader/syntax/iso_container.h"

namespace {

std::optional<Mp4Track> SoundTrackFind(BoxWalk *walk, const Box &moov) {
    Box box;
    for (int64_t at = moov.begin; BoxTake(walk, &at, moov.end, &box);) {
        if (!box.Is("trak"))
            continue;
        if (std::optional<Mp4Track> track = Mp4SoundTrackRead(walk, box))
            return track;
    }
    return std::nullopt;
}

uint64_t MovieTimescale(BoxWalk *walk, const Box &moov) {
    const std::optional<Box> header = Mp4BoxFind(walk, moov, {"mvhd"});
    if (!header)
        return 0;
    const SoundBytes bytes = Mp4BoxRead(walk, *header, 24);
    Cursor cursor{bytes.View()};
    Mp4TimesTake(&cursor);
    return TakeBig(&cursor, 4);
}

void StreamAdd(BoxWalk *walk, const Box &moov, const char *container, SoundFile *file) {
    std::optional<Mp4Track> track = SoundTrackFind(walk, moov);
    if (!track)
        return;
    const uint64_t movie_timescale = MovieTimescale(walk, moov);
    if (Mp4BoxFind(walk, moov, {"mvex"}))
        Mp4FragmentsAdd(walk, moov, &*track);
    SoundStream stream = track->stream;
    const double media = track->timescale != 0
                             ? static_cast<double>(track->duration) / static_cast<double>(track->timescale)
                             : 0;
    const double edited =
        movie_timescale != 0 ? static_cast<double>(track->edited) / static_cast<double>(movie_timescale) : 0;
    stream.duration = edited > 0 && (edited < media || media == 0) ? edited : media;
    if (track->bytes != 0 && media > 0)
        stream.bitrate = static_cast<double>(track->bytes) * 8 / media;
    stream.container = container;
    StreamFactsAdd(stream, FactSource::own, file->facts);
}

} // namespace

void Mp4Read(SoundFile *file) {
    BoxWalk walk{file->input, kSoundBoxesMax};
    const char *container = IsoContainerName({});
    Box box;
    for (int64_t at = 0; BoxTake(&walk, &at, file->input->size, &box);) {
        if (box.Is("ftyp"))
            container = IsoContainerName(Characters(Mp4BoxRead(&walk, box, 4).View()));
        if (!box.Is("moov"))
            continue;
        StreamAdd(&walk, box, container, file);
        Mp4ItemsRead(&walk, box, file);
        break;
    }
}
