// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/probe_module/streams.h"

#include <algorithm>
#include <limits>

namespace {

// The log line of a stream type that is refused gives its number, which log filters know.
static_assert(AVMEDIA_TYPE_UNKNOWN == -1);
static_assert(AVMEDIA_TYPE_VIDEO == 0);
static_assert(AVMEDIA_TYPE_AUDIO == 1);
static_assert(AVMEDIA_TYPE_DATA == 2);
static_assert(AVMEDIA_TYPE_SUBTITLE == 3);
static_assert(AVMEDIA_TYPE_ATTACHMENT == 4);

int Channels(const AVCodecParameters *parameters) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(59, 24, 100)
    return parameters->ch_layout.nb_channels;
#else
    return parameters->channels;
#endif
}

// Bits of a sample of plain PCM, whose bit rate follows from it; 0 for any other codec, which states its own.
int PcmSampleBits(AVCodecID codec) {
    switch (codec) {
    case AV_CODEC_ID_PCM_S16LE:
    case AV_CODEC_ID_PCM_S16BE:
    case AV_CODEC_ID_PCM_U16LE:
    case AV_CODEC_ID_PCM_U16BE:
        return 16;
    case AV_CODEC_ID_PCM_S8:
    case AV_CODEC_ID_PCM_U8:
    case AV_CODEC_ID_PCM_MULAW:
    case AV_CODEC_ID_PCM_ALAW:
        return 8;
    default:
        return 0;
    }
}

uint32_t AudioBitRate(const AVCodecParameters *parameters) {
    const int bits = PcmSampleBits(parameters->codec_id);
    if (bits == 0)
        return Count(parameters->bit_rate);
    // Both factors are below 2^31 and a sample has at most 16 bits: the first product always fits, the second
    // is bounded before.
    const int64_t samples = int64_t{std::max(parameters->sample_rate, 0)} * std::max(Channels(parameters), 0);
    return Count(std::min<int64_t>(samples, std::numeric_limits<uint32_t>::max()) * bits);
}

void VideoCopy(const AVCodecParameters *parameters, MediaInfo *record) {
    if (parameters->width == 0)
        return;
    record->width = Count(parameters->width);
    record->height = Count(parameters->height);
}

void AudioCopy(const AVCodecParameters *parameters, MediaInfo *record) {
    record->channels = Count(Channels(parameters));
    if (parameters->sample_rate != 0)
        record->sample_rate = Count(parameters->sample_rate);
    if (const uint32_t bit_rate = AudioBitRate(parameters); bit_rate != 0)
        record->audio_bitrate = bit_rate;
}

} // namespace

uint32_t Count(int64_t count) {
    return static_cast<uint32_t>(std::clamp<int64_t>(count, 0, std::numeric_limits<uint32_t>::max()));
}

bool StreamCopy(const AVStream *stream, MediaInfo *record, StreamsSeen *seen) {
    // A cover picture of a music file comes as a video stream of one frame.
    if ((stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0)
        return true;
    switch (stream->codecpar->codec_type) {
    case AVMEDIA_TYPE_VIDEO:
        seen->video = true;
        VideoCopy(stream->codecpar, record);
        return true;
    case AVMEDIA_TYPE_AUDIO:
        seen->audio = true;
        AudioCopy(stream->codecpar, record);
        return true;
    case AVMEDIA_TYPE_DATA:
    case AVMEDIA_TYPE_SUBTITLE:
        return true;
    default:
        return false;
    }
}
