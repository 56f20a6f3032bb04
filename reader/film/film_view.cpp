// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/film_view.h"

namespace {

// Codecs of pictures that stand alone: what has a single frame of one is a cover.
bool IsPictureCodec(AVCodecID codec) {
    switch (codec) {
    case AV_CODEC_ID_MJPEG:
    case AV_CODEC_ID_PNG:
    case AV_CODEC_ID_GIF:
    case AV_CODEC_ID_BMP:
    case AV_CODEC_ID_TIFF:
    case AV_CODEC_ID_WEBP:
        return true;
    default:
        return false;
    }
}

} // namespace

bool IsCover(const AVStream &stream) {
    if ((stream.disposition & (AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_TIMED_THUMBNAILS)) != 0)
        return true;
    return stream.nb_frames == 1 && IsPictureCodec(stream.codecpar->codec_id);
}

FilmView FilmViewOf(AVFormatContext *format, int64_t size) {
    FilmView view{.format = format, .size = size};
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        const AVStream *stream = format->streams[i];
        if (stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO && view.sound == nullptr)
            view.sound = stream;
        if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && view.film == nullptr && !IsCover(*stream))
            view.film = stream;
    }
    return view;
}

int Channels(const AVCodecParameters &parameters) {
#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(59, 24, 100)
    return parameters.ch_layout.nb_channels;
#else
    return parameters.channels;
#endif
}

const uint8_t *StreamSideData(const AVStream &stream, AVPacketSideDataType type) {
#if LIBAVFORMAT_VERSION_INT >= AV_VERSION_INT(60, 15, 100)
    const AVPacketSideData *data =
        av_packet_side_data_get(stream.codecpar->coded_side_data, stream.codecpar->nb_coded_side_data, type);
    return data != nullptr ? data->data : nullptr;
#else
    return av_stream_get_side_data(&stream, type, nullptr);
#endif
}
