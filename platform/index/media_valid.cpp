// SPDX-License-Identifier: GPL-2.0-or-later
//
// MediaInfoValid: what readers took from a file as it stands becomes what the catalogue may hold.
#include "platform/index/text.h"
#include "platform/media_record.h"
#include "platform/veluindex.h"

#include <algorithm>
#include <cmath>

namespace {

template <size_t Size>
void MakeTextValid(char (&field)[Size], bool utf16 = false) {
    if (!utf16)
        CatalogueTextInPlace(field, Size);
}

void MakeCountValid(int32_t *count) {
    *count = std::max(*count, 0);
}

} // namespace

int MediaInfoValid(MediaInfo *record) {
    if (record == nullptr)
        return -1;
    MakeTextValid(record->title, record->title_utf16 != 0);
    MakeTextValid(record->album, record->album_utf16 != 0);
    MakeTextValid(record->artist, record->artist_utf16 != 0);
    MakeTextValid(record->genre, record->genre_utf16 != 0);
    MakeTextValid(record->composer, record->composer_utf16 != 0);
    MakeTextValid(record->comment, record->comment_utf16 != 0);
    MakeTextValid(record->camera_make);
    MakeTextValid(record->camera_model);
    MakeTextValid(record->exposure_time);
    MakeTextValid(record->f_number);
    MakeTextValid(record->date_taken);
    MakeTextValid(record->create_time);
    MakeTextValid(record->modify_time);
    MakeCountValid(&record->track);
    MakeCountValid(&record->disc);
    MakeCountValid(&record->year);
    if (!std::isfinite(record->duration) || record->duration < 0)
        record->duration = 0;
    return 0;
}
