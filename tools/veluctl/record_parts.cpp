// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/record_parts.h"

#include <stdio.h>

#include "platform/index/text.h"

namespace {

// Puts values that say something beside their columns.
struct Filling {
    RecordPart part;

    void Number(const char *name, int64_t value, Type type = Type::integer) {
        if (value != 0)
            Put({name, name, type}, std::to_string(value));
    }
    // Text as the catalogue would keep it.
    template <size_t N>
    void Text(const char *name, const char (&field)[N], int32_t utf16 = 0) {
        const std::string text = CatalogueText(field, N, utf16 != 0);
        if (!text.empty())
            Put({name, name, Type::text}, text);
    }
    void Seconds(const char *name, double value) {
        char text[64];
        snprintf(text, sizeof text, "%.3f", value);
        if (value > 0)
            Put({name, name, Type::seconds}, text);
    }
    void Put(const Column &column, std::string value) {
        part.columns.push_back(column);
        part.values.emplace_back(std::move(value));
    }
};

} // namespace

RecordPart MediaPart(const char *reader, const MediaInfo &record) {
    Filling filling{{reader, {}, {}, {}}};
    filling.Text("title", record.title, record.title_utf16);
    filling.Text("artist", record.artist, record.artist_utf16);
    filling.Text("album", record.album, record.album_utf16);
    filling.Text("genre", record.genre, record.genre_utf16);
    filling.Text("composer", record.composer, record.composer_utf16);
    filling.Text("comment", record.comment, record.comment_utf16);
    filling.Number("track", record.track);
    filling.Number("disc", record.disc);
    filling.Number("year", record.year);
    filling.Seconds("duration", double{record.duration});
    filling.Number("audio_bitrate", record.audio_bitrate);
    filling.Number("video_bitrate", record.video_bitrate);
    filling.Number("sample_rate", record.sample_rate);
    filling.Number("channels", record.channels);
    filling.Number("width", record.width);
    filling.Number("height", record.height);
    filling.Number("has_cover", record.has_cover);
    return filling.part;
}

RecordPart PhotoPart(const char *reader, const PhotoRecord &record) {
    Filling filling{{reader, {}, {}, {}}};
    filling.Text("make", record.make);
    filling.Text("model", record.model);
    filling.Text("exposure", record.exposure);
    filling.Text("fnumber", record.fnumber);
    filling.Text("date_taken", record.date_taken);
    filling.Number("width", record.width);
    filling.Number("height", record.height);
    filling.Number("iso", record.iso);
    return filling.part;
}

RecordPart PicturePart(const char *reader, int width, int height) {
    Filling filling{{reader, {}, {}, {}}};
    filling.Number("width", width);
    filling.Number("height", height);
    return filling.part;
}
