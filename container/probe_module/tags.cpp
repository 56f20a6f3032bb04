// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/probe_module/tags.h"

#include <stdio.h>
#include <string.h>

#include <charconv>
#include <initializer_list>

namespace {

// Returns the tags of the first audio stream of an Ogg file, whose container has none of its own; null
// otherwise. In other formats a stream's tags name the stream (a language, say), not what is in the file.
const AVDictionary *StreamTags(const AVFormatContext *format) {
    if (strcmp(format->iformat->name, "ogg") != 0)
        return nullptr;
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        if (format->streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
            return format->streams[i]->metadata;
    }
    return nullptr;
}

// Returns the value of the first of the keys that has one, or the empty string. Keys match whatever their
// case.
const char *Tag(const AVFormatContext *format, std::initializer_list<const char *> keys) {
    for (const AVDictionary *tags :
         {static_cast<const AVDictionary *>(format->metadata), StreamTags(format)}) {
        for (const char *key : keys) {
            const AVDictionaryEntry *entry = av_dict_get(tags, key, nullptr, 0);
            if (entry != nullptr && entry->value[0] != '\0')
                return entry->value;
        }
    }
    return "";
}

void TextCopy(const char *value, char (&text)[kMediaTextSize]) {
    if (value[0] != '\0')
        snprintf(text, sizeof text, "%s", value);
}

// Returns the number that the text begins with ("2004-05-01", "7/12"), or 0.
int32_t LeadingNumber(const char *text) {
    text += strspn(text, " ");
    int32_t number = 0;
    std::from_chars(text, text + strlen(text), number);
    return number > 0 ? number : 0;
}

int32_t Year(const AVFormatContext *format) {
    const int32_t year = LeadingNumber(Tag(format, {"date"}));
    return year != 0 ? year : LeadingNumber(Tag(format, {"year"}));
}

} // namespace

void TagsCopy(const AVFormatContext *format, MediaInfo *record) {
    TextCopy(Tag(format, {"genre"}), record->genre);
    TextCopy(Tag(format, {"artist", "author"}), record->artist);
    TextCopy(Tag(format, {"title"}), record->title);
    if (const int32_t year = Year(format); year != 0)
        record->year = year;
    record->track = LeadingNumber(Tag(format, {"track"}));
}

void AlbumCopy(const AVFormatContext *format, MediaInfo *record) {
    TextCopy(Tag(format, {"album"}), record->album);
}
