// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/end_tags.h"

#include "reader/sound/ape_tag.h"
#include "reader/sound/id3v1.h"
#include "reader/sound/id3v2.h"
#include "reader/sound/id3v2_items.h"
#include "reader/sound/sound_bytes.h"

namespace {

// Tags that programs have put before or behind one another; nobody has made more.
constexpr int kTagsInARow = 8;

// Lyrics3 v2.00: "LYRICSBEGIN", fields, six digits with their length, "LYRICS200".
constexpr int64_t kLyricsEndSize = 15;

int64_t LyricsSize(Bytes end) {
    if (end.size() < kLyricsEndSize || Characters(end).substr(6) != "LYRICS200")
        return 0;
    int64_t size = 0;
    for (const uint8_t digit : end.first(6)) {
        if (digit < '0' || digit > '9')
            return 0;
        size = size * 10 + (digit - '0');
    }
    return size + kLyricsEndSize;
}

void Id3v2AtEndsSkip(ReaderInput *input, SoundBounds *bounds) {
    uint8_t header[kId3HeaderSize];
    for (int i = 0; i < kTagsInARow; ++i) {
        const size_t got = SoundRead(input, bounds->begin, header);
        const int64_t size = Id3v2Size({header, got});
        if (size == 0)
            return;
        if (bounds->id3v2 < 0)
            bounds->id3v2 = bounds->begin;
        bounds->begin = std::min(bounds->begin + size, input->size);
    }
}

// Takes one tag off the end. Returns whether there was one.
bool EndTagSkip(ReaderInput *input, SoundBounds *bounds) {
    uint8_t bytes[kApeFooterSize] = {};
    const int64_t room = bounds->end - bounds->begin;
    const int64_t footer = bounds->end - static_cast<int64_t>(kApeFooterSize);
    if (room < static_cast<int64_t>(kApeFooterSize) || SoundRead(input, footer, bytes) < kApeFooterSize)
        return false;
    const Bytes end = bytes;
    int64_t size = ApeTagSize(end);
    if (size != 0) {
        bounds->ape = footer;
    } else if ((size = LyricsSize(end.last(kLyricsEndSize))) == 0) {
        size = Id3v2SizeOfFooter(end.last(kId3HeaderSize));
        if (size != 0 && size <= room && bounds->id3v2 < 0)
            bounds->id3v2 = bounds->end - size;
    }
    if (size == 0)
        return false;
    bounds->end -= std::min(size, room);
    return true;
}

void Id3v1Skip(ReaderInput *input, SoundBounds *bounds) {
    uint8_t mark[3];
    const int64_t begin = bounds->end - kId3v1Size;
    if (begin < bounds->begin || SoundRead(input, begin, mark) < sizeof mark || !BeginsWith(mark, "TAG"))
        return;
    bounds->id3v1 = begin;
    bounds->end = begin;
}

} // namespace

SoundBounds SoundBoundsFind(ReaderInput *input) {
    SoundBounds bounds;
    bounds.end = input->size;
    Id3v2AtEndsSkip(input, &bounds);
    Id3v1Skip(input, &bounds);
    for (int i = 0; i < kTagsInARow && EndTagSkip(input, &bounds); ++i)
        continue;
    return bounds;
}

void Id3v2FactsRead(SoundFile *file, int64_t offset) {
    const Id3Tag tag = Id3v2Read(file->input, offset);
    Id3v2FactsAdd(tag, file);
}

void EndTagsRead(SoundFile *file, const SoundBounds &bounds, EndTagOrder order) {
    if (order == EndTagOrder::kApeFirst && bounds.ape >= 0)
        ApeTagRead(file, bounds.ape);
    if (bounds.id3v2 >= 0)
        Id3v2FactsRead(file, bounds.id3v2);
    if (order == EndTagOrder::kId3First && bounds.ape >= 0)
        ApeTagRead(file, bounds.ape);
    if (bounds.id3v1 >= 0)
        Id3v1Read(file, bounds.id3v1);
}
