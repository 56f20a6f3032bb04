// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/mp4.h"

#include <stdio.h>
#include <syslog.h>

#include "catalogue/util.h"
#include "container/metamedia.h"
#include "container/mp4_reader.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "mp4.c";

} // namespace

int Mp4MediaInfoGet(const char *path, MediaInfo *record) {
    if (path == nullptr || *path == '\0' || record == nullptr) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    uint64_t size = 0;
    if (!IsFileExist(path, &size))
        return -1;
    *record = MediaInfo{};
    snprintf(record->path, sizeof record->path, "%s", path);
    record->file_size = size;
    int result = 0;
    if (Mp4MetadataRead(path, record) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to parse mp4 metadata.", kLogName, __LINE__);
        result = 1;
    }
    MediaRecordFinish(path, record, kLogName);
    return result;
}

int Mp4FileIndex(const char *path) {
    MediaInfo record;
    const int result = Mp4MediaInfoGet(path, &record);
    if (result < 0)
        return -1;

    // The probe's audio values are closer to the sound than the track header's.
    MediaInfo probed = {};
    if (MiscMediaInfoGet(path, &probed) == 0) {
        if (probed.audio_bitrate != 0)
            record.audio_bitrate = probed.audio_bitrate;
        if (probed.channels > 0)
            record.channels = probed.channels;
        if (probed.duration > 0.0F)
            record.duration = probed.duration;
        if (probed.sample_rate > 0)
            record.sample_rate = probed.sample_rate;
    }
    // A save that fails is logged and leaves the result as it is.
    if (MediaInfoDBSave(kMediaMusic, &record) != 0)
        syslog(LOG_ERR, "%s (%d) Failed to save media info to database.", kLogName, __LINE__);
    return result;
}

int Mp4FileRemove(const char *path) {
    return MediaFileRemove(kMediaMusic, path, kLogName);
}
