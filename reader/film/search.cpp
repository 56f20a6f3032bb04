// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/search.h"

#include <string>

#include "reader/film/mpeg_rate.h"

namespace {

// Those of which the container, the parameter sets or the head of a picture tell all; decoded pictures are large. Of others
// libavformat takes the size from decoded pictures alone.
bool IsToldByHeads(AVCodecID codec) {
    return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC || codec == AV_CODEC_ID_VP9;
}

// The names of all decoders but theirs, with commas.
const std::string &DecodersLetIn() {
    static const std::string let_in = [] {
        std::string names;
        void *place = nullptr;
        while (const AVCodec *codec = av_codec_iterate(&place)) {
            if (av_codec_is_decoder(codec) != 0 && !IsToldByHeads(codec->id))
                names.append(names.empty() ? "" : ",").append(codec->name);
        }
        return names;
    }();
    return let_in;
}

} // namespace

int StreamsSearch(AVFormatContext *format) {
    format->codec_whitelist = av_strdup(DecodersLetIn().c_str());
    return format->codec_whitelist != nullptr ? avformat_find_stream_info(format, nullptr) : AVERROR(ENOMEM);
}

bool HasMeanOfFrames(const FilmView &view) {
    constexpr int64_t kRateStep = 8000; // between rates that a frame of MPEG audio can have, in bit/s
    // Decoders keep half a dozen pictures, of one and a half bytes a pixel, so that a reader gets by with 48 MB.
    constexpr int64_t kDecodedPixelsMax = 4 << 20;
    if (view.film != nullptr &&
        int64_t{view.film->codecpar->width} * view.film->codecpar->height > kDecodedPixelsMax)
        return false;
    return view.sound != nullptr && IsMpegAudio(view.sound->codecpar->codec_id) &&
           view.sound->codecpar->bit_rate % kRateStep != 0;
}

bool IsPictureLeftOut(const FilmView &view) {
    return view.film != nullptr && IsToldByHeads(view.film->codecpar->codec_id) &&
           (view.film->codecpar->width == 0 || view.film->codecpar->format == AV_PIX_FMT_NONE);
}
