// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/mp4.h"

#include <syslog.h>

#include "catalogue/media_info.h"
#include "container/metamedia.h"
#include "container/mp4_reader.h"

namespace {
constexpr char kLogName[] = "mp4.c";
}

int Mp4Read(const char *path, MediaInfo *record) {
    if (Mp4MetadataRead(path, record) == 0)
        return 0;
    syslog(LOG_ERR, "%s (%d) Failed to parse mp4 metadata.", kLogName, __LINE__);
    return 1;
}

// They are closer to the sound than the track header's.
void Mp4ProbedValuesTake(const char *path, MediaInfo *record) {
    MediaInfo probed = {};
    if (MiscMediaInfoGet(path, &probed) != 0)
        return;
    if (probed.audio_bitrate != 0)
        record->audio_bitrate = probed.audio_bitrate;
    if (probed.channels > 0)
        record->channels = probed.channels;
    if (probed.duration > 0.0F)
        record->duration = probed.duration;
    if (probed.sample_rate > 0)
        record->sample_rate = probed.sample_rate;
}
