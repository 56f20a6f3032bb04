// SPDX-License-Identifier: GPL-2.0-or-later
//
// The calls about tags and cover pictures.
#include "compat/mp4v2/cover_type.h"
#include "compat/mp4v2/movie.h"

#include <stdlib.h>

#include <algorithm>

#include "platform/bytes.h"

namespace {

// `data` of a pair of numbers: 2 unused bytes, the number, the total; a track pair ends with 2 unused bytes,
// which some writers leave out of a disk pair.
constexpr size_t kPairNumberAt = 2;
constexpr size_t kPairTotalAt = 4;
constexpr uint64_t kPairBytes = 8;
constexpr uint64_t kShortPairBytes = 6;

constexpr uint64_t kGenreNumberBytes = 2;

bool ValueFind(MP4FileHandle handle, Item item, uint32_t index, ItemValue *value) {
    return handle != nullptr &&
           ItemValueFind(&MovieOf(handle)->file, ItemOf(MovieOf(handle)->items, item), index, value);
}

// Returns a copy of `size` bytes and a terminator, to be freed with free(); null without memory or bytes.
uint8_t *BytesCopy(const BoxFile &file, uint64_t start, size_t size) {
    auto *copy = static_cast<uint8_t *>(malloc(size + 1));
    if (copy == nullptr)
        return nullptr;
    if (!BoxFileCopy(file, start, copy, size)) {
        free(copy);
        return nullptr;
    }
    copy[size] = '\0';
    return copy;
}

bool TextGet(MP4FileHandle handle, Item item, char **text) {
    *text = nullptr;
    ItemValue value;
    if (!ValueFind(handle, item, 0, &value) || value.size == 0)
        return false;
    const auto size = static_cast<size_t>(std::min<uint64_t>(value.size, kMp4TextMax));
    *text = reinterpret_cast<char *>(BytesCopy(MovieOf(handle)->file, value.start, size));
    return *text != nullptr;
}

void PairRead(BoxFile *file, const ItemValue &value, uint16_t *number, uint16_t *total) {
    if (const uint8_t *bytes = BoxFileBytes(file, value.start, kShortPairBytes)) {
        *number = BigEndian16(bytes + kPairNumberAt);
        *total = BigEndian16(bytes + kPairTotalAt);
    }
}

} // namespace

bool MP4GetMetadataName(MP4FileHandle file, char **value) {
    return TextGet(file, Item::kName, value);
}

bool MP4GetMetadataArtist(MP4FileHandle file, char **value) {
    return TextGet(file, Item::kArtist, value);
}

bool MP4GetMetadataAlbum(MP4FileHandle file, char **value) {
    return TextGet(file, Item::kAlbum, value);
}

bool MP4GetMetadataComment(MP4FileHandle file, char **value) {
    return TextGet(file, Item::kComment, value);
}

bool MP4GetMetadataWriter(MP4FileHandle file, char **value) {
    return TextGet(file, Item::kWriter, value);
}

bool MP4GetMetadataYear(MP4FileHandle file, char **value) {
    return TextGet(file, Item::kYear, value);
}

bool MP4GetMetadataGenre(MP4FileHandle file, char **value) {
    return TextGet(file, Item::kGenre, value);
}

bool MP4GetMetadataGenreNumber(MP4FileHandle file, uint16_t *number) {
    *number = 0;
    if (file == nullptr || !ItemOf(MovieOf(file)->items, Item::kGenreNumber).Exists())
        return false;
    ItemValue value;
    if (ValueFind(file, Item::kGenreNumber, 0, &value) && value.size == kGenreNumberBytes) {
        if (const uint8_t *bytes = BoxFileBytes(&MovieOf(file)->file, value.start, kGenreNumberBytes))
            *number = BigEndian16(bytes);
    }
    return true;
}

bool MP4GetMetadataTrack(MP4FileHandle file, uint16_t *track, uint16_t *total) {
    *track = *total = 0;
    ItemValue value;
    if (!ValueFind(file, Item::kTrack, 0, &value) || value.size != kPairBytes)
        return false;
    PairRead(&MovieOf(file)->file, value, track, total);
    return true;
}

bool MP4GetMetadataDisk(MP4FileHandle file, uint16_t *disk, uint16_t *total) {
    *disk = *total = 0;
    ItemValue value;
    if (!ValueFind(file, Item::kDisk, 0, &value))
        return false;
    if (value.size == kPairBytes || value.size == kShortPairBytes)
        PairRead(&MovieOf(file)->file, value, disk, total);
    return true;
}

bool MP4GetMetadataCoverArt(MP4FileHandle file, uint8_t **picture, uint32_t *size, uint32_t index) {
    *picture = nullptr;
    *size = 0;
    ItemValue value;
    if (!ValueFind(file, Item::kCover, index, &value) || value.size > kMp4PictureMax)
        return false;
    if (value.size == 0)
        return true;
    *picture = BytesCopy(MovieOf(file)->file, value.start, static_cast<size_t>(value.size));
    if (*picture == nullptr)
        return false;
    *size = static_cast<uint32_t>(value.size);
    return true;
}

bool MP4GetMetadataCoverArtFileType(MP4FileHandle file, uint32_t *type, uint32_t index) {
    *type = 0;
    ItemValue value;
    if (!ValueFind(file, Item::kCover, index, &value))
        return false;
    const auto size = static_cast<size_t>(std::min<uint64_t>(value.size, kCoverSignatureMax));
    const uint8_t *head = BoxFileBytes(&MovieOf(file)->file, value.start, size);
    *type = CoverTypeOf(value.type_code, {head, head == nullptr ? 0 : size});
    return true;
}
