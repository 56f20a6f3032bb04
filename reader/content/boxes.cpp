// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/boxes.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "platform/bytes.h"
#include "reader/syntax/boxes.h"

namespace {

using namespace std::string_view_literals;

struct Track {
    uint32_t id = 0;
    uint32_t handler = 0;
    uint32_t coding = 0;       // type of the first sample entry
    uint8_t object_type = 0;   // of MPEG-4 systems, 0 when not told
    uint32_t samples = 0;      // 0: none, or in fragments
    uint32_t chapters_for = 0; // the track that this one's chapters come from
};

struct Walk {
    BoxWalk boxes;
    uint32_t brand = 0;
    bool has_tracks = false;
    std::vector<Track> tracks;
};

// Calls `visit` for each box of a range, until it returns false.
template <typename Visit>
void BoxesVisit(Walk *walk, int64_t begin, int64_t end, Visit visit) {
    Box box;
    for (int64_t at = begin; BoxTake(&walk->boxes, &at, end, &box) && visit(box);) {
    }
}

// Reads a number of four bytes in a box.
uint32_t BoxNumber(Walk *walk, const Box &box, int64_t offset) {
    uint8_t bytes[4];
    return box.end - box.begin >= offset + 4 &&
                   FileBytes(walk->boxes.input, box.begin + offset, bytes, sizeof bytes)
               ? BigEndian32(bytes)
               : 0;
}

// A visual sample entry in the MPEG-4 way names its coding in a descriptor, behind a box "esds".
void ObjectTypeRead(Walk *walk, const Box &entry, Track *track) {
    constexpr int64_t kVisualEntry = 78; // fields ahead of the boxes
    BoxesVisit(walk, entry.begin + kVisualEntry, entry.end, [&](const Box &box) {
        if (box.type != BoxType("esds"))
            return true;
        // Descriptors have lengths of one to four bytes; the object type comes behind DecoderConfigDescrTag (4).
        uint8_t bytes[32] = {};
        const auto size = static_cast<size_t>(std::min<int64_t>(sizeof bytes, box.end - box.begin));
        if (!FileBytes(walk->boxes.input, box.begin, bytes, size))
            return false;
        for (size_t i = 4 + 1; i + 6 < sizeof bytes; ++i) {
            if (bytes[i] != 4)
                continue;
            size_t at = i + 1;
            while (at + 1 < sizeof bytes && (bytes[at] & 0x80) != 0)
                ++at;
            if (at + 1 < sizeof bytes)
                track->object_type = bytes[at + 1];
            break;
        }
        return false;
    });
}

void SampleTableRead(Walk *walk, const Box &table, Track *track) {
    BoxesVisit(walk, table.begin, table.end, [&](const Box &box) {
        constexpr int64_t kFirstEntry = 8; // version, flags and count
        int64_t at = box.begin + kFirstEntry;
        Box entry;
        if (box.type == BoxType("stsz") || box.type == BoxType("stz2"))
            track->samples = BoxNumber(walk, box, 8);
        else if (box.type == BoxType("stsd") && BoxTake(&walk->boxes, &at, box.end, &entry)) {
            track->coding = entry.type;
            if (entry.type == BoxType("mp4v"))
                ObjectTypeRead(walk, entry, track);
        }
        return true;
    });
}

// `depth` counts the boxes that hold this one, from 0 for the track's own.
void TrackRead(Walk *walk, const Box &within, int depth, Track *track) {
    constexpr int kInMedia = 1; // trak.mdia
    constexpr int kDeepest = 2; // trak.mdia.minf
    BoxesVisit(walk, within.begin, within.end, [&](const Box &box) {
        switch (box.type) {
        case BoxType("tkhd"): {
            const bool wide = (BoxNumber(walk, box, 0) >> 24) == 1;
            track->id = BoxNumber(walk, box, wide ? 20 : 12);
            break;
        }
        case BoxType("hdlr"):
            // Tracks of QuickTime have a second one, of their data, deeper inside.
            if (depth == kInMedia)
                track->handler = BoxNumber(walk, box, 8);
            break;
        case BoxType("chap"):
            track->chapters_for = BoxNumber(walk, box, 0);
            break;
        case BoxType("tref"):
        case BoxType("mdia"):
        case BoxType("minf"):
            if (depth < kDeepest)
                TrackRead(walk, box, depth + 1, track);
            break;
        case BoxType("stbl"):
            SampleTableRead(walk, box, track);
            break;
        default:
            break;
        }
        return true;
    });
}

void MovieRead(Walk *walk, const Box &movie) {
    walk->has_tracks = true;
    BoxesVisit(walk, movie.begin, movie.end, [&](const Box &box) {
        if (box.type == BoxType("trak")) {
            Track track;
            TrackRead(walk, box, 0, &track);
            walk->tracks.push_back(track);
        }
        return true;
    });
}

// Books have pictures to their chapters, and some writers keep the cover as a film of one picture.
bool IsStill(const Walk &walk, const Track &track) {
    constexpr uint8_t kObjectJpeg = 0x6C; // ISO/IEC 14496-1
    constexpr uint8_t kObjectPng = 0x6D;
    const bool picture_coding = track.coding == BoxType("jpeg") || track.coding == BoxType("png ") ||
                                track.object_type == kObjectJpeg || track.object_type == kObjectPng;
    const bool chapters = std::any_of(walk.tracks.begin(), walk.tracks.end(), [&track](const Track &other) {
        return other.chapters_for == track.id && other.handler == BoxType("soun") && track.id != 0;
    });
    return chapters || (picture_coding && track.samples == 1);
}

ContentFormat TracksFormat(const Walk &walk) {
    bool sound = false;
    for (const Track &track : walk.tracks) {
        if (track.handler == BoxType("vide") && !IsStill(walk, track))
            return ContentFormat::film;
        sound = sound || track.handler == BoxType("soun");
    }
    return sound ? ContentFormat::mp4_sound : ContentFormat::film;
}

struct Brand {
    uint32_t brand;
    ContentFormat format;
};

constexpr Brand kPictureBrands[] = {
    {BoxType("heic"), ContentFormat::heif}, {BoxType("heix"), ContentFormat::heif},
    {BoxType("heim"), ContentFormat::heif}, {BoxType("heis"), ContentFormat::heif},
    {BoxType("hevc"), ContentFormat::heif}, {BoxType("hevx"), ContentFormat::heif},
    {BoxType("mif1"), ContentFormat::heif}, {BoxType("mif2"), ContentFormat::heif},
    {BoxType("msf1"), ContentFormat::heif}, {BoxType("miaf"), ContentFormat::heif},
    {BoxType("avif"), ContentFormat::heif}, {BoxType("avis"), ContentFormat::heif},
    {BoxType("avci"), ContentFormat::heif}, {BoxType("jpeg"), ContentFormat::heif},
    {BoxType("crx "), ContentFormat::raw},
};

// Brands of files that hold sound, should their tracks not be there.
constexpr uint32_t kSoundBrands[] = {BoxType("M4A "), BoxType("M4B "), BoxType("M4P ")};

ContentFormat BrandFormat(uint32_t brand) {
    for (const Brand &row : kPictureBrands) {
        if (row.brand == brand)
            return row.format;
    }
    return ContentFormat::unknown;
}

} // namespace

ContentFormat BoxesLook(const ContentHead &head) {
    Walk walk = {{head.input, kContentBoxesMax}, 0, false, {}};
    ContentFormat picture = ContentFormat::unknown;
    bool compatible_picture = false;
    BoxesVisit(&walk, head.begin, head.input->size, [&](const Box &box) {
        constexpr int64_t kFirstCompatible = 8;
        constexpr int64_t kCompatiblesMax = 32;
        switch (box.type) {
        case BoxType("ftyp"):
            walk.brand = BoxNumber(&walk, box, 0);
            picture = BrandFormat(walk.brand);
            for (int64_t i = 0; i < kCompatiblesMax; ++i) {
                const uint32_t brand = BoxNumber(&walk, box, kFirstCompatible + i * 4);
                compatible_picture = compatible_picture || BrandFormat(brand) == ContentFormat::heif;
            }
            return picture == ContentFormat::unknown;
        case BoxType("moov"):
            MovieRead(&walk, box);
            return false;
        case BoxType("moof"):
            return false; // a piece of a stream: the film's header is elsewhere
        default:
            return true;
        }
    });
    if (picture != ContentFormat::unknown)
        return picture;
    if (walk.has_tracks)
        return TracksFormat(walk);
    if (compatible_picture)
        return ContentFormat::heif;
    const bool sound =
        std::find(std::begin(kSoundBrands), std::end(kSoundBrands), walk.brand) != std::end(kSoundBrands);
    return sound ? ContentFormat::mp4_sound : ContentFormat::film;
}
