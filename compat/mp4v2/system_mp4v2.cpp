// SPDX-License-Identifier: GPL-2.0-or-later
//
// The metadata calls over an installed libmp4v2 2.x, which has the track calls still but gives tags as one
// structure. Its own bounds hold then: it reads every unknown box and all sample tables into memory.
#include "compat/mp4v2/mp4.h"

#include "compat/mp4v2/cover_type.h"
#include "platform/limits.h"

#include <stdlib.h>
#include <string.h>

#include <memory>

namespace {

struct TagsFree {
    void operator()(const MP4Tags *tags) const noexcept { MP4TagsFree(tags); }
};
using Tags = std::unique_ptr<const MP4Tags, TagsFree>;

// Reads all tags of the file; null when it has none or memory is short.
Tags TagsGet(MP4FileHandle file) {
    Tags tags(file == MP4_INVALID_FILE_HANDLE ? nullptr : MP4TagsAlloc());
    if (tags && !MP4TagsFetch(tags.get(), file))
        tags.reset();
    return tags;
}

bool TextGet(MP4FileHandle file, const char *MP4Tags::*field, char **value) {
    const Tags tags = TagsGet(file);
    const char *text = tags ? tags.get()->*field : nullptr;
    *value = text == nullptr ? nullptr : strdup(text);
    return *value != nullptr;
}

const MP4TagArtwork *PictureFind(const Tags &tags, uint32_t index) {
    return tags && index < tags->artworkCount ? &tags->artwork[index] : nullptr;
}

// The code of the `data` box that the library has translated.
uint32_t TypeCodeOf(MP4TagArtworkType type) {
    constexpr uint32_t kNoType = 0;
    constexpr uint32_t kGif = 12;
    constexpr uint32_t kBmp = 27;
    switch (type) {
    case MP4_ART_JPEG:
        return kMp4CoverJpeg;
    case MP4_ART_PNG:
        return kMp4CoverPng;
    case MP4_ART_GIF:
        return kGif;
    case MP4_ART_BMP:
        return kBmp;
    default:
        return kNoType;
    }
}

} // namespace

MP4FileHandle MP4Read(const char *path, uint32_t) {
    MP4LogSetLevel(MP4_LOG_NONE); // it writes to standard output otherwise
    return MP4Read(path);
}

bool MP4GetMetadataName(MP4FileHandle file, char **value) {
    return TextGet(file, &MP4Tags::name, value);
}

bool MP4GetMetadataArtist(MP4FileHandle file, char **value) {
    return TextGet(file, &MP4Tags::artist, value);
}

bool MP4GetMetadataAlbum(MP4FileHandle file, char **value) {
    return TextGet(file, &MP4Tags::album, value);
}

bool MP4GetMetadataComment(MP4FileHandle file, char **value) {
    return TextGet(file, &MP4Tags::comments, value);
}

bool MP4GetMetadataWriter(MP4FileHandle file, char **value) {
    return TextGet(file, &MP4Tags::composer, value);
}

bool MP4GetMetadataYear(MP4FileHandle file, char **value) {
    return TextGet(file, &MP4Tags::releaseDate, value);
}

bool MP4GetMetadataGenre(MP4FileHandle file, char **value) {
    return TextGet(file, &MP4Tags::genre, value);
}

bool MP4GetMetadataGenreNumber(MP4FileHandle file, uint16_t *number) {
    const Tags tags = TagsGet(file);
    const bool found = tags && tags->genreType != nullptr;
    *number = found ? *tags->genreType : uint16_t{0};
    return found;
}

bool MP4GetMetadataTrack(MP4FileHandle file, uint16_t *track, uint16_t *total) {
    const Tags tags = TagsGet(file);
    const bool found = tags && tags->track != nullptr;
    *track = found ? tags->track->index : uint16_t{0};
    *total = found ? tags->track->total : uint16_t{0};
    return found;
}

bool MP4GetMetadataDisk(MP4FileHandle file, uint16_t *disk, uint16_t *total) {
    const Tags tags = TagsGet(file);
    const bool found = tags && tags->disk != nullptr;
    *disk = found ? tags->disk->index : uint16_t{0};
    *total = found ? tags->disk->total : uint16_t{0};
    return found;
}

bool MP4GetMetadataCoverArt(MP4FileHandle file, uint8_t **picture, uint32_t *size, uint32_t index) {
    *picture = nullptr;
    *size = 0;
    const Tags tags = TagsGet(file);
    const MP4TagArtwork *found = PictureFind(tags, index);
    if (found == nullptr || found->size > kMp4PictureMax)
        return false;
    if (found->size == 0)
        return true;
    *picture = static_cast<uint8_t *>(malloc(found->size));
    if (*picture == nullptr)
        return false;
    memcpy(*picture, found->data, found->size);
    *size = found->size;
    return true;
}

bool MP4GetMetadataCoverArtFileType(MP4FileHandle file, uint32_t *type, uint32_t index) {
    *type = 0;
    const Tags tags = TagsGet(file);
    const MP4TagArtwork *found = PictureFind(tags, index);
    if (found == nullptr)
        return false;
    *type = CoverTypeOf(TypeCodeOf(found->type), {static_cast<const uint8_t *>(found->data), found->size});
    return true;
}
