// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/mp4v2/track_reader.h"

#include "compat/mp4v2/sample_entry.h"

#include <string.h>

#include "platform/bytes.h"

namespace {

// Where fields stand in the payload. Version 1 has 64-bit times; any other is read as version 0.
struct TrackHeaderLayout {
    size_t id, width, height, size;
};
constexpr TrackHeaderLayout kTrackHeader0 = {12, 76, 80, 84};
constexpr TrackHeaderLayout kTrackHeader1 = {20, 88, 92, 96};

struct MediaHeaderLayout {
    size_t time_scale, duration, size;
};
constexpr MediaHeaderLayout kMediaHeader0 = {12, 16, 20};
constexpr MediaHeaderLayout kMediaHeader1 = {20, 24, 32};

constexpr size_t kHandlerTypeAt = 8;
constexpr size_t kHandlerBytes = 12; // the name behind it is of no use, and often not as it should be

constexpr unsigned kFixedPointBits = 16; // sizes in a track header are 16.16

struct Parts {
    bool track_header = false;
    bool media_header = false;
    bool handler = false;
    Box description;
    bool times = false;
    bool chunks = false;
    bool offsets = false;
};

bool IsVersion1(BoxFile *file, const Box &box) {
    const uint8_t *version = BoxPayload(file, box, 1);
    return version != nullptr && *version == 1;
}

bool TrackHeaderRead(BoxFile *file, const Box &box, Mp4Track *track) {
    const TrackHeaderLayout &layout = IsVersion1(file, box) ? kTrackHeader1 : kTrackHeader0;
    const uint8_t *bytes = BoxPayload(file, box, layout.size);
    if (bytes == nullptr)
        return false;
    track->id = BigEndian32(bytes + layout.id);
    track->width = static_cast<uint16_t>(BigEndian32(bytes + layout.width) >> kFixedPointBits);
    track->height = static_cast<uint16_t>(BigEndian32(bytes + layout.height) >> kFixedPointBits);
    return true;
}

bool MediaHeaderRead(BoxFile *file, const Box &box, Mp4Track *track) {
    const bool is_long = IsVersion1(file, box);
    const MediaHeaderLayout &layout = is_long ? kMediaHeader1 : kMediaHeader0;
    const uint8_t *bytes = BoxPayload(file, box, layout.size);
    if (bytes == nullptr)
        return false;
    track->time_scale = BigEndian32(bytes + layout.time_scale);
    track->duration = is_long ? BigEndian64(bytes + layout.duration) : BigEndian32(bytes + layout.duration);
    return true;
}

bool HandlerRead(BoxFile *file, const Box &box, Mp4Track *track) {
    const uint8_t *bytes = BoxPayload(file, box, kHandlerBytes);
    if (bytes == nullptr)
        return false;
    memcpy(track->type, bytes + kHandlerTypeAt, sizeof track->type - 1);
    return true;
}

// The first box of each kind counts.
void SampleTablesRead(BoxFile *file, const Box &table, Mp4Track *track, Parts *parts) {
    Box box;
    for (uint64_t pos = table.start; BoxNext(file, &pos, table.end, &box);) {
        switch (box.type) {
        case BoxType("stsd"):
            if (!parts->description.Exists())
                parts->description = box;
            break;
        case BoxType("stsz"):
        case BoxType("stz2"):
            if (!track->sizes.Exists())
                track->sizes = box;
            break;
        case BoxType("stts"):
            parts->times = true;
            break;
        case BoxType("stsc"):
            parts->chunks = true;
            break;
        case BoxType("stco"):
        case BoxType("co64"):
            parts->offsets = true;
            break;
        default:
            break;
        }
    }
}

void MediaRead(BoxFile *file, const Box &media, Mp4Track *track, Parts *parts) {
    Box box;
    Box information;
    for (uint64_t pos = media.start; BoxNext(file, &pos, media.end, &box);) {
        if (box.type == BoxType("mdhd") && !parts->media_header)
            parts->media_header = MediaHeaderRead(file, box, track);
        else if (box.type == BoxType("hdlr") && !parts->handler)
            parts->handler = HandlerRead(file, box, track);
        else if (box.type == BoxType("minf") && !information.Exists())
            information = box;
    }
    const Box table = BoxFind(file, information.start, information.end, BoxType("stbl"));
    SampleTablesRead(file, table, track, parts);
}

} // namespace

bool Mp4TrackRead(BoxFile *file, const Box &trak, Mp4Track *track) {
    Parts parts;
    Box box;
    Box media;
    for (uint64_t pos = trak.start; BoxNext(file, &pos, trak.end, &box);) {
        if (box.type == BoxType("tkhd") && !parts.track_header)
            parts.track_header = TrackHeaderRead(file, box, track);
        else if (box.type == BoxType("mdia") && !media.Exists())
            media = box;
    }
    MediaRead(file, media, track, &parts);
    if (!parts.track_header || !parts.media_header || !parts.handler)
        return false;
    const bool file_ends_inside = trak.is_cut && trak.end == file->size;
    const bool has_tables = track->sizes.Exists() && parts.times && parts.chunks && parts.offsets;
    if (!has_tables && !file_ends_inside)
        return false;
    if (parts.description.Exists())
        SampleEntryRead(file, parts.description, track);
    // The size in the track header is meant for showing; it stands in for a missing coded one.
    if (!Mp4TrackIs(*track, BoxType("vide")))
        track->width = track->height = 0;
    return true;
}
