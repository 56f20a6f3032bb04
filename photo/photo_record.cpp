// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_record.h"

#include <algorithm>
#include <string_view>

namespace {

// Cameras of this system's time stay well below; what is above are unset fields read as numbers.
constexpr int32_t kPixelsMax = 8000;

void PixelsSanitize(int32_t *pixels) {
    if (*pixels < 0 || *pixels > kPixelsMax)
        *pixels = 0;
}

bool IsForeign(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value < 0x20 || value >= 0x80;
}

void TextSanitize(char *text) {
    const std::string_view bytes(text);
    if (std::any_of(bytes.begin(), bytes.end(), IsForeign))
        *text = '\0';
}

} // namespace

int PhotoRecordSanitize(PhotoRecord *record) {
    if (record == nullptr)
        return -1;
    PixelsSanitize(&record->width);
    PixelsSanitize(&record->height);
    TextSanitize(record->date_taken);
    TextSanitize(record->make);
    TextSanitize(record->model);
    return 0;
}
