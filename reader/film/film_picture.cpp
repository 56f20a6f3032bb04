// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/film_picture.h"

#include <string_view>

namespace {

std::span<const std::byte> BytesOf(const uint8_t *data, int size) {
    return std::as_bytes(std::span(data, data != nullptr && size > 0 ? static_cast<size_t>(size) : 0));
}

std::string_view TagOf(const AVStream &stream, const char *key) {
    const AVDictionaryEntry *entry = av_dict_get(stream.metadata, key, nullptr, 0);
    return entry != nullptr ? entry->value : "";
}

// libavformat knows the common kinds of attached pictures; others (WebP in Matroska) are files to it.
std::span<const std::byte> PictureOf(const AVStream &stream) {
    if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0)
        return BytesOf(stream.attached_pic.data, stream.attached_pic.size);
    if (stream.codecpar->codec_type == AVMEDIA_TYPE_ATTACHMENT &&
        TagOf(stream, "mimetype").starts_with("image/"))
        return BytesOf(stream.codecpar->extradata, stream.codecpar->extradata_size);
    return {};
}

// ID3, FLAC and ASF say what is in a picture, in libavformat's words; in Matroska the file's name does: cover is the large
// upright one, beside cover_land and small_cover.
bool IsFrontCover(const AVStream &stream) {
    return TagOf(stream, "comment") == "Cover (front)" || TagOf(stream, "filename").starts_with("cover.");
}

} // namespace

void FilmPictureTake(const AVFormatContext &format, PictureSink *picture) {
    for (const bool front : {true, false}) {
        for (unsigned i = 0; i < format.nb_streams; ++i) {
            const AVStream &stream = *format.streams[i];
            if (IsFrontCover(stream) == front && PictureTake(picture, PictureOf(stream)))
                return;
        }
    }
}
