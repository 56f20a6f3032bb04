// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/id3_merge.h"

#include "audio/id3_genres.h"
#include "platform/limits.h"
#include "platform/velusdk.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <limits>

namespace {

constexpr char kLogName[] = "metaid3.c";

constexpr int kYearMin = 1200;
constexpr int kYearMax = 2200;

constexpr int kMono = 3;

// Returns the number at the head of a text; one that an int cannot hold becomes the nearest that it can.
// *complete tells whether the text ended with it: also for an empty text, which is 0.
int NumberParse(const char *text, bool *complete) {
    char *end = nullptr;
    const long value = strtol(text, &end, 10);
    *complete = *end == '\0';
    constexpr long kMin = std::numeric_limits<int>::min();
    constexpr long kMax = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, kMin, kMax));
}

void PlainCopy(char *out, const char *text) {
    snprintf(out, kMediaTextSize, "%s", text);
}

// A text field of one of the tags, copied with its flag.
void Id3v2Copy(char *out, int32_t *out_utf16, const char *text, int32_t is_utf16) {
    if (is_utf16 != 0)
        Id3CopyUtf16(text, out, kMediaTextSize);
    else
        PlainCopy(out, text);
    *out_utf16 = is_utf16;
}

void Id3v1Copy(char *out, const char *text) {
    snprintf(out, kMediaTextSize, "%.*s", static_cast<int>(kId3v1TextBytes), text);
    StringTrim(out);
}

void TextMerge(char *out, int32_t *out_utf16, const char *id3v2, int32_t is_utf16, const char *id3v1) {
    if (id3v2[0] != '\0')
        Id3v2Copy(out, out_utf16, id3v2, is_utf16);
    else if (id3v1[0] != '\0')
        Id3v1Copy(out, id3v1);
}

uint32_t ChannelCount(int channel_mode) {
    if (channel_mode < 0 || channel_mode > kMono)
        return 0;
    return channel_mode == kMono ? 1 : 2;
}

int YearGet(const Id3v2Tag &id3v2, const Id3v1Block &id3v1) {
    char id3v1_year[kId3v1YearBytes + 1] = {};
    memcpy(id3v1_year, id3v1.bytes + kId3v1Year, kId3v1YearBytes);
    bool complete = false;
    const int year = NumberParse(id3v2.year[0] != '\0' ? id3v2.year : id3v1_year, &complete);
    return complete && year >= kYearMin && year <= kYearMax ? year : 0;
}

// A genre by number, in parentheses: "(17)" or "(17)Rock". False when the text has no parentheses. Words in
// them, as in "Rock (live)", give no genre.
bool GenreNumberCopy(char *out, const char *text) {
    const char *const open = strchr(text, '(');
    const char *const close = strrchr(text, ')');
    if (open == nullptr || close == nullptr || close < open)
        return false;
    char digits[sizeof Id3v2Tag::genre];
    snprintf(digits, sizeof digits, "%.*s", static_cast<int>(close - open - 1), open + 1);
    bool complete = false;
    const int number = NumberParse(digits, &complete);
    if (!complete)
        return true;
    if (number >= 0 && number < kId3GenreCount)
        PlainCopy(out, Id3GenreNames[number]);
    else
        snprintf(out, kMediaTextSize, "%d", number);
    return true;
}

void GenreMerge(MediaInfo *record, const Id3v2Tag &id3v2, const Id3v1Block &id3v1) {
    if (id3v2.genre[0] != '\0') {
        if (!GenreNumberCopy(record->genre, id3v2.genre))
            Id3v2Copy(record->genre, &record->genre_utf16, id3v2.genre, id3v2.genre_utf16);
        return;
    }
    // Writers leave 0 in a tag without a genre more often than they mean blues, whose number it is.
    const int index = static_cast<uint8_t>(id3v1.bytes[kId3v1Genre]);
    if (index > 0 && index < kId3GenreCount)
        PlainCopy(record->genre, Id3GenreNames[index]);
}

void TrackMerge(MediaInfo *record, const Id3v2Tag &id3v2, const Id3v1Block &id3v1) {
    bool complete = false;
    const char track = id3v1.bytes[kId3v11Track];
    if (id3v2.track[0] != '\0')
        record->track = NumberParse(id3v2.track, &complete);
    else if (track != ' ' && track != '\0' && id3v1.bytes[kId3v11Mark] == '\0')
        record->track = static_cast<uint8_t>(track);
}

void DiscMerge(MediaInfo *record, const Id3v2Tag &id3v2) {
    if (id3v2.disc[0] == '\0')
        return;
    bool complete = false;
    const int disc = NumberParse(id3v2.disc, &complete);
    record->disc = complete ? disc : 0;
}

} // namespace

void Mp3InfoMerge(MediaInfo *record, const MpegHeaderInfo *mpeg, const Id3v1Block *id3v1,
                  const Id3v2Tag *id3v2) {
    if (record == nullptr || mpeg == nullptr || id3v1 == nullptr || id3v2 == nullptr) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return;
    }
    if (mpeg->duration > 0 && mpeg->duration < kMp3DurationMax)
        record->duration = static_cast<float>(mpeg->duration);
    record->audio_bitrate = static_cast<uint32_t>(std::max(mpeg->bit_rate, 0));
    record->sample_rate = static_cast<uint32_t>(mpeg->sample_rate);
    record->channels = ChannelCount(mpeg->channel_mode);

    const char *const block = id3v1->bytes;
    constexpr char kNoId3v1[] = "";
    TextMerge(record->title, &record->title_utf16, id3v2->title, id3v2->title_utf16, block + kId3v1Title);
    TextMerge(record->artist, &record->artist_utf16, id3v2->artist, id3v2->artist_utf16,
              block + kId3v1Artist);
    TextMerge(record->album, &record->album_utf16, id3v2->album, id3v2->album_utf16, block + kId3v1Album);
    TextMerge(record->composer, &record->composer_utf16, id3v2->composer, id3v2->composer_utf16, kNoId3v1);
    TextMerge(record->comment, &record->comment_utf16, id3v2->comment, id3v2->comment_utf16,
              block + kId3v1Comment);
    record->year = YearGet(*id3v2, *id3v1);
    GenreMerge(record, *id3v2, *id3v1);
    TrackMerge(record, *id3v2, *id3v1);
    DiscMerge(record, *id3v2);
    record->has_cover = id3v2->cover_count;
}
