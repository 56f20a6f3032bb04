// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/metavideo.h"

#include "container/mpeg_stream.h"
#include "platform/media_record.h"

#include <syslog.h>

namespace {

constexpr char kLogName[] = "metavideo.c";

// Programs that read the catalogue know both bit rates with this factor: that of the video on its value as
// coded, that of the audio on bit/s.
constexpr uint32_t kBitRateFactor = 1000;

void RecordFill(const MpegSequenceInfo &video, const MpegHeaderInfo &audio, MediaInfo *record) {
    // Unsigned: the largest coded value, 30 bits in MPEG-2, exceeds the field and leaves its low 32 bits.
    record->video_bitrate = static_cast<uint32_t>(video.bit_rate) * kBitRateFactor;
    record->duration = static_cast<float>(video.duration);
    record->width = static_cast<uint32_t>(video.width);
    record->height = static_cast<uint32_t>(video.height);
    record->audio_bitrate = static_cast<uint32_t>(audio.bit_rate) * kBitRateFactor;
    record->sample_rate = static_cast<uint32_t>(audio.sample_rate);
    record->channels = static_cast<uint32_t>(audio.channel_mode); // the mode, not a count
}

} // namespace

int MpegVideoInfoGet(const char *path, MediaInfo *record) {
    MpegReader reader;
    if (!Mp3FileOpen(path, &reader.bytes, kLogName))
        return -1;
    MpegSequenceInfo video;
    MpegHeaderInfo audio;
    int result = 0;
    if (MpegParseSequenceHeader(&reader, 0, &video) != 0 && MpegParseStream(&reader, &video, &audio) != 0) {
        syslog(LOG_ERR, "%s (%d) Did not find video nor audio. Skip meta info", kLogName, __LINE__);
        result = -1;
    }
    RecordFill(video, audio, record);
    return result;
}
