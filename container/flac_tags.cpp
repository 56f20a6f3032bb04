// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/flac_tags.h"

#include "catalogue/media_info.h"

#include <string.h>
#include <strings.h>

#include <algorithm>

namespace {

template <char (MediaInfo::*Field)[kMediaTextSize]>
void TakeText(std::string_view value, MediaInfo *record) {
    char(&field)[kMediaTextSize] = record->*Field;
    const size_t length = value.copy(field, sizeof field - 1);
    field[length] = '\0';
}

// A number as strtol reads it in base 10: blanks, a sign, digits. One that does not fit is 0. `rest` is what
// follows; for a text without digits that is all of it.
int32_t NumberRead(std::string_view text, std::string_view *rest) {
    *rest = text;
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);
    int64_t number = 0;
    for (; !text.empty() && text[0] >= '0' && text[0] <= '9'; text.remove_prefix(1)) {
        number = std::min<int64_t>(number * 10 + (text[0] - '0'), int64_t{INT32_MAX} + 1);
        *rest = text.substr(1);
    }
    return number > INT32_MAX ? 0 : static_cast<int32_t>(negative ? -number : number);
}

// A date of which only the year is known: "2007" is one, "2007-09-17" is not.
void TakeYear(std::string_view value, MediaInfo *record) {
    std::string_view rest;
    const int32_t year = NumberRead(value, &rest);
    record->year = rest.empty() ? year : 0;
}

// "3/12" is track 3.
void TakeTrack(std::string_view value, MediaInfo *record) {
    std::string_view rest;
    record->track = NumberRead(value, &rest);
}

struct Tag {
    std::string_view key;
    void (*take)(std::string_view value, MediaInfo *record);
};

constexpr Tag kTags[] = {
    {"TITLE=", TakeText<&MediaInfo::title>}, {"ARTIST=", TakeText<&MediaInfo::artist>},
    {"ALBUM=", TakeText<&MediaInfo::album>}, {"DATE=", TakeYear},
    {"GENRE=", TakeText<&MediaInfo::genre>}, {"TRACKNUMBER=", TakeTrack},
};

} // namespace

void FlacTagTake(std::string_view entry, MediaInfo *record) {
    // Entries are counted bytes; as text, which the record holds, they end at the first NUL.
    entry = entry.substr(0, entry.find('\0'));
    for (const Tag &tag : kTags) {
        if (entry.size() > tag.key.size() && strncasecmp(entry.data(), tag.key.data(), tag.key.size()) == 0)
            return tag.take(entry.substr(tag.key.size()), record);
    }
}
