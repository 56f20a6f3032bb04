// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/faad_line.h"

#include "catalogue/media_info.h"

#include <locale.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace {

// The numbers of the line are in the "C" locale for as long as this lives.
class PlainLocale {
public:
    PlainLocale() noexcept : plain_(newlocale(LC_ALL_MASK, "C", nullptr)), before_(uselocale(plain_)) {}
    ~PlainLocale() {
        uselocale(before_);
        freelocale(plain_);
    }
    PlainLocale(const PlainLocale &) = delete;
    PlainLocale &operator=(const PlainLocale &) = delete;

private:
    locale_t plain_;
    locale_t before_;
};

uint32_t ToCount(long long value) {
    return static_cast<uint32_t>(std::clamp<long long>(value, 0, UINT32_MAX));
}

} // namespace

bool FaadLineParse(const char *line, MediaInfo *record) {
    constexpr int kAllConversions = 5;
    std::string word(strlen(line) + 1, '\0');
    float seconds = 0;
    // Wider than the record's fields, so that a number that does not fit them is seen and not wrapped.
    long long rate = 0;
    long long channels = 0;
    long long bitrate = 0;
    int converted = 0;
    {
        const PlainLocale plain;
        converted = sscanf(line, "%s duration;%f;samplerate;%lld;channel;%lld;bitrate;%lld;", word.data(),
                           &seconds, &rate, &channels, &bitrate);
    }
    if (converted >= 2)
        record->duration = std::isfinite(seconds) ? seconds : 0;
    if (converted >= 3)
        record->sample_rate = ToCount(rate);
    if (converted >= 4)
        record->channels = ToCount(channels);
    if (converted >= kAllConversions)
        record->audio_bitrate = ToCount(bitrate);
    return converted == kAllConversions;
}
