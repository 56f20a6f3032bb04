// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/aiff.h"

#include "catalogue/util.h"
#include "platform/handle.h"

extern "C" { // the library's own header is for C alone
#include <libaiff/libaiff.h>
}
#include <cfloat>
#include <memory>

namespace {

using AiffHandle = std::unique_ptr<s_AIFF_Ref, CloseWith<AIFF_CloseFile>>;

// The rate of a damaged file can be anything, infinity included.
float ToSeconds(uint64_t sample_frames, double rate) {
    if (!(rate > 0))
        return 0;
    const double seconds = static_cast<double>(sample_frames) / rate;
    // A play time that the field cannot hold becomes 0, as MediaInfoValid makes of an infinite one.
    return seconds <= FLT_MAX ? static_cast<float>(seconds) : 0;
}

} // namespace

int AiffRead(const char *path, MediaInfo *record) {
    const AiffHandle file(AIFF_OpenFile(path, F_RDONLY));
    uint64_t sample_frames = 0;
    int channels = 0;
    double rate = 0;
    int bits = 0;
    int segment_size = 0;
    if (!file || AIFF_GetAudioFormat(file.get(), &sample_frames, &channels, &rate, &bits, &segment_size) != 1)
        return 0;
    record->channels = static_cast<uint32_t>(channels);
    record->duration = ToSeconds(sample_frames, rate);
    record->audio_bitrate = MediaCountFrom(bits * rate * channels);
    record->sample_rate = MediaCountFrom(rate);
    return 0;
}
