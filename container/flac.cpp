// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/flac.h"

#include "catalogue/util.h"
#include "container/flac_blocks.h"
#include "container/flac_tags.h"
#include "platform/handle.h"

#include <FLAC/metadata.h>
#include <sys/stat.h>
#include <syslog.h>

namespace {

constexpr char kLogName[] = "flac.c";

using FlacBlockHandle = std::unique_ptr<FLAC__StreamMetadata, CloseWith<FLAC__metadata_object_delete>>;

// Whole seconds, and the mean rate over everything in the file. The single precision is what catalogues hold
// for files indexed earlier.
void TakeStreamInfo(const FLAC__StreamMetadata_StreamInfo &stream, uint64_t file_size, MediaInfo *record) {
    record->channels = stream.channels;
    record->sample_rate = stream.sample_rate;
    record->duration = 0;
    record->audio_bitrate = 0;
    if (stream.sample_rate == 0)
        return;
    const uint64_t whole_seconds = stream.total_samples / stream.sample_rate;
    record->duration = static_cast<float>(whole_seconds);
    if (stream.total_samples == 0)
        return;
    const float seconds = static_cast<float>(stream.total_samples) / static_cast<float>(stream.sample_rate);
    record->audio_bitrate = MediaCountFrom(static_cast<float>(file_size) * 8.0 / seconds);
}

void TakeTags(const FLAC__StreamMetadata_VorbisComment &tags, MediaInfo *record) {
    for (uint32_t i = 0; i < tags.num_comments; i++) {
        const FLAC__StreamMetadata_VorbisComment_Entry &entry = tags.comments[i];
        if (entry.entry != nullptr)
            FlacTagTake({reinterpret_cast<const char *>(entry.entry), entry.length}, record);
    }
}

} // namespace

int FlacMetadataRead(const char *path, MediaInfo *record) {
    if (path == nullptr || *path == '\0') {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    struct stat status;
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) {
        syslog(LOG_ERR, "%s (%d) Stat file error: %s.", kLogName, __LINE__, path);
        return -1;
    }
    FLAC__StreamMetadata stream;
    if (!FlacBlocksAreBounded(path) || !FLAC__metadata_get_streaminfo(path, &stream)) {
        syslog(LOG_ERR, "%s (%d) Can't get Flac stream info: %s.", kLogName, __LINE__, path);
        return -1;
    }
    TakeStreamInfo(stream.data.stream_info, static_cast<uint64_t>(status.st_size), record);

    FLAC__StreamMetadata *tags = nullptr;
    if (!FLAC__metadata_get_tags(path, &tags)) {
        syslog(LOG_ERR, "%s (%d) Can't get Flac comment tags: %s.", kLogName, __LINE__, path);
        return -1;
    }
    const FlacBlockHandle tags_owner(tags);
    TakeTags(tags->data.vorbis_comment, record);
    return 0;
}

int FlacRead(const char *path, MediaInfo *record) {
    if (FlacMetadataRead(path, record) == 0)
        return 0;
    syslog(LOG_ERR, "%s (%d) Failed to parse music metadata.", kLogName, __LINE__);
    return 1;
}
