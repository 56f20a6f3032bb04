// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/id3v2.h"

#include "platform/limits.h"
#include "reader/sound/id3v2_names.h"
#include "reader/sound/id3v2_packing.h"

namespace {

enum HeaderFlags : uint8_t { kUnsynchronised = 0x80, kExtended = 0x40, kFooter = 0x10 };

bool IsSyncsafe(Bytes four) {
    return std::ranges::all_of(four, [](uint8_t byte) { return byte < 0x80; });
}

// A name of a frame: capital letters and digits. In a tag of version 2.3 it may be one of 2.2 with a NUL behind it.
bool IsName(Bytes name) {
    return std::ranges::all_of(name, [](uint8_t character) {
        return (character >= 'A' && character <= 'Z') || (character >= '0' && character <= '9');
    });
}

struct FrameWalk {
    size_t names = 0; // frames with a name
    bool ends = true; // where the data or their filling end
};

// What walking through version 2.4 gives with sizes of either kind. Old writers had plain numbers.
FrameWalk FramesWalk(Bytes data, bool syncsafe) {
    FrameWalk walk;
    Cursor cursor{data};
    while (cursor.rest.size() > kId3HeaderSize && cursor.rest[0] != 0 && walk.names < kSoundItemsMax) {
        const Bytes name = Take(&cursor, 4);
        const Bytes size = Take(&cursor, 4);
        Take(&cursor, 2);
        walk.names += IsName(name) ? 1U : 0U;
        Take(&cursor, syncsafe ? Syncsafe32(size.data()) : BigEndian32(size.data()));
    }
    walk.ends = !cursor.cut;
    return walk;
}

bool SizesAreSyncsafe(Bytes data) {
    const FrameWalk syncsafe = FramesWalk(data, true);
    const FrameWalk plain = FramesWalk(data, false);
    return plain.names == syncsafe.names ? syncsafe.ends || !plain.ends : syncsafe.names > plain.names;
}

// Some writers set the flag without writing the header: then a frame's name stands in its place.
bool ExtendedHeaderTake(Cursor *cursor, int version) {
    if (cursor->rest.size() < 4)
        return false;
    const Bytes size = cursor->rest.first(4);
    if (IsName(size))
        return true;
    const uint64_t bytes = version == 4 ? std::max<uint64_t>(Syncsafe32(size.data()), 4)
                                        : uint64_t{BigEndian32(size.data())} + 4;
    if (bytes > cursor->rest.size())
        return false;
    Take(cursor, static_cast<size_t>(bytes));
    return true;
}

struct FrameHeader {
    Bytes name;
    uint64_t size;
    uint8_t flags; // of its format
};

FrameHeader FrameHeaderTake(Cursor *cursor, int version, bool syncsafe) {
    FrameHeader header{};
    header.name = Take(cursor, version == 2 ? 3 : 4);
    if (version == 2) {
        header.size = TakeBig(cursor, 3);
        return header;
    }
    const Bytes size = Take(cursor, 4);
    if (size.size() == 4)
        header.size = syncsafe ? Syncsafe32(size.data()) : BigEndian32(size.data());
    Take(cursor, 1);
    header.flags = static_cast<uint8_t>(TakeBig(cursor, 1));
    return header;
}

void FramesTake(Cursor cursor, bool unsynchronised, Id3Tag *tag) {
    const bool syncsafe = tag->version == 4 && SizesAreSyncsafe(cursor.rest);
    size_t room = kSoundTagMax; // for what is unpacked
    for (size_t i = 0; i < kSoundItemsMax && !cursor.rest.empty() && cursor.rest[0] != 0; ++i) {
        const FrameHeader header = FrameHeaderTake(&cursor, tag->version, syncsafe);
        if (cursor.cut)
            break;
        const Bytes stored = Take(&cursor, static_cast<size_t>(header.size));
        const Id3Packing packing = Id3PackingOf(tag->version, header.flags, unsynchronised);
        const std::string id = Id3NameOf(Characters(header.name));
        if (id.empty() || packing.encrypted || stored.empty())
            continue;
        if (packing.IsPlain()) {
            tag->frames.push_back({id, stored});
            continue;
        }
        SoundBytes data = Id3Unpack(stored, packing, &room);
        tag->frames.push_back({id, data.View()});
        tag->unpacked.push_back(std::move(data));
    }
}

int64_t SizeOf(Bytes header, std::string_view mark) {
    if (header.size() < kId3HeaderSize || !BeginsWith(header, mark) || header[3] < 2 || header[3] > 4 ||
        header[4] == 0xFF || !IsSyncsafe(header.subspan(6, 4)))
        return 0;
    const bool footer = header[3] == 4 && (header[5] & kFooter) != 0;
    return int64_t{Syncsafe32(header.data() + 6)} + static_cast<int64_t>(kId3HeaderSize * (footer ? 2 : 1));
}

} // namespace

int64_t Id3v2Size(Bytes header) {
    return SizeOf(header, "ID3");
}

int64_t Id3v2SizeOfFooter(Bytes footer) {
    return SizeOf(footer, "3DI");
}

Id3Tag Id3v2Read(ReaderInput *input, int64_t offset) {
    Id3Tag tag;
    uint8_t header[kId3HeaderSize];
    if (SoundRead(input, offset, header) < kId3HeaderSize || Id3v2Size(header) == 0)
        return tag;
    const int64_t size = std::min<int64_t>(Syncsafe32(header + 6), kSoundTagMax);
    tag.version = header[3];
    tag.bytes = SoundBytesRead(input, offset + static_cast<int64_t>(kId3HeaderSize), size);
    const uint8_t flags = header[5];
    Cursor cursor{tag.bytes.View()};
    bool unsynchronised = (flags & kUnsynchronised) != 0;
    if (tag.version != 2 && (flags & kExtended) != 0 && !ExtendedHeaderTake(&cursor, tag.version))
        return tag;
    if (tag.version != 4 && unsynchronised) {
        tag.unpacked.push_back(Id3Synchronise(cursor.rest));
        cursor.rest = tag.unpacked.back().View();
        unsynchronised = false;
    }
    FramesTake(cursor, unsynchronised, &tag);
    return tag;
}
