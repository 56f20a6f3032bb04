// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/id3v2_packing.h"

#include <string.h>
#include <zlib.h>

#include <algorithm>

namespace {

// The first memory for what a frame is inflated to; it grows fourfold, since a text that is compressed is short.
constexpr size_t kInflateFirst = 4096;

// Returns zlib's status of inflating into `out`, whose size then is what came of it.
int InflateInto(Bytes stored, SoundBytes *out) {
    uLongf size = static_cast<uLongf>(out->size);
    const int status = uncompress(out->data.get(), &size, stored.data(), static_cast<uLong>(stored.size()));
    out->size = static_cast<size_t>(size);
    return status;
}

SoundBytes Inflate(Bytes stored, size_t room) {
    for (size_t size = std::min(kInflateFirst, room);; size = std::min(size * 4, room)) {
        SoundBytes out{std::make_unique_for_overwrite<uint8_t[]>(size), size};
        const int status = InflateInto(stored, &out);
        if (status == Z_OK)
            return out;
        if (status != Z_BUF_ERROR || size == room)
            return {};
    }
}

SoundBytes Copy(Bytes data) {
    SoundBytes copy{std::make_unique_for_overwrite<uint8_t[]>(data.size()), data.size()};
    std::ranges::copy(data, copy.data.get());
    return copy;
}

// Some writers set the flag and leave the data as they are: then an 0xFF stands before what it must not stand before.
bool IsUnsynchronised(Bytes data) {
    return std::ranges::adjacent_find(data, [](uint8_t first, uint8_t second) {
               return first == 0xFF && second >= 0xE0;
           }) == data.end();
}

} // namespace

Id3Packing Id3PackingOf(int version, uint8_t flags, bool unsynchronised) {
    Id3Packing packing;
    if (version == 3) {
        packing.compressed = (flags & 0x80) != 0;
        packing.encrypted = (flags & 0x40) != 0;
        packing.length = packing.compressed;
        packing.before = (flags & 0x20) != 0 ? 1 : 0;
        return packing;
    }
    packing.before = (flags & 0x40) != 0 ? 1 : 0;
    packing.compressed = (flags & 0x08) != 0;
    packing.encrypted = (flags & 0x04) != 0;
    packing.unsynchronised = unsynchronised || (flags & 0x02) != 0;
    packing.length = (flags & 0x09) != 0;
    return packing;
}

SoundBytes Id3Unpack(Bytes stored, const Id3Packing &packing, size_t *room) {
    const size_t before = packing.before + (packing.length ? 4 : 0);
    if (before > stored.size())
        return {};
    Bytes data = stored.subspan(before);
    SoundBytes synchronised;
    if (packing.unsynchronised) {
        synchronised = Id3Synchronise(data);
        data = synchronised.View();
    }
    SoundBytes unpacked;
    if (packing.compressed)
        unpacked = Inflate(data, *room);
    else
        unpacked = packing.unsynchronised ? std::move(synchronised) : Copy(data);
    *room -= std::min(*room, unpacked.size);
    return unpacked;
}

SoundBytes Id3Synchronise(Bytes data) {
    if (!IsUnsynchronised(data))
        return Copy(data);
    SoundBytes out{std::make_unique_for_overwrite<uint8_t[]>(data.size()), 0};
    while (!data.empty()) {
        const void *mark = memchr(data.data(), 0xFF, data.size());
        const size_t plain = mark == nullptr
                                 ? data.size()
                                 : static_cast<size_t>(static_cast<const uint8_t *>(mark) - data.data()) + 1;
        std::ranges::copy(data.first(plain), out.data.get() + out.size);
        out.size += plain;
        data = data.subspan(plain);
        if (mark != nullptr && !data.empty() && data.front() == 0)
            data = data.subspan(1);
    }
    return out;
}
