// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/probe_module/probe.h"

#include "container/probe_module/filter.h"
#include "container/probe_module/input.h"
#include "container/probe_module/open.h"
#include "container/probe_module/streams.h"
#include "container/probe_module/tags.h"

#include <syslog.h>

namespace {

constexpr char kLogName[] = "metamedia.c";

void ContainerCopy(const AVFormatContext *format, MediaInfo *record) {
    record->video_bitrate = Count(format->bit_rate);
    // AV_NOPTS_VALUE, a duration that is not known, is negative.
    const int64_t duration = format->duration > 0 ? format->duration : 0;
    const int64_t whole_seconds = duration / AV_TIME_BASE;
    record->duration = static_cast<float>(whole_seconds);
    TagsCopy(format, record);
}

ProbeResult StreamsCopy(const char *path, const AVFormatContext *format, MediaInfo *record) {
    StreamsSeen seen;
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        const AVStream *stream = format->streams[i];
        if (!StreamCopy(stream, record, &seen)) {
            syslog(LOG_ERR, "%s:%d Invalid stream type:%d from [%s].", kLogName, __LINE__,
                   static_cast<int>(stream->codecpar->codec_type), path);
            return kProbeFailed;
        }
    }
    if (!seen.audio && !seen.video)
        return kProbeFailed;
    if (!seen.video)
        AlbumCopy(format, record);
    return kProbeDone;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int MiscMediaInfoProbe(const char *path,
                                                                         MediaInfo *record) {
    av_log_set_level(AV_LOG_QUIET); // its remarks would go to standard error
    MediaInput input = MediaInputOpen(path);
    if (input.fd && !SyscallFilterInstall()) {
        syslog(LOG_ERR, "%s:%d Failed to install the system call filter.", kLogName, __LINE__);
        return kProbeFailed;
    }
    const AvioHandle avio = input.fd ? AvioOpen(&input) : nullptr;
    const FormatHandle format = avio != nullptr ? FormatOpen(path, avio.get()) : nullptr;
    if (format == nullptr) {
        syslog(LOG_ERR, "%s (%d) Failed to av_open_input_file() file [%s].", kLogName, __LINE__, path);
        return kProbeFailed;
    }
    if (avformat_find_stream_info(format.get(), nullptr) < 0) {
        syslog(LOG_ERR, "%s (%d) Could not find codec parameters.  %s", kLogName, __LINE__, path);
        return kProbeFailed;
    }
    ContainerCopy(format.get(), record);
    return StreamsCopy(path, format.get(), record);
}
