// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/open_questions.h"

#include <string.h>

#include <algorithm>
#include <iterator>

#include "reader/film/film_times.h"
#include "reader/film/hdr.h"
#include "reader/film/mpeg_rate.h"

namespace {

// Up to here AAC may be the lower half of what is played.
constexpr int kPlainAacRateMin = 24'000;

bool NoStreamsYet(const FilmView &view) {
    return (view.format->ctx_flags & AVFMTCTX_NOHEADER) != 0 ||
           (view.sound == nullptr && view.film == nullptr);
}

bool UnknownCodec(const FilmView &view) {
    for (unsigned i = 0; i < view.format->nb_streams; ++i) {
        const AVCodecParameters &parameters = *view.format->streams[i]->codecpar;
        const bool matters = parameters.codec_type == AVMEDIA_TYPE_AUDIO ||
                             parameters.codec_type == AVMEDIA_TYPE_VIDEO ||
                             parameters.codec_type == AVMEDIA_TYPE_UNKNOWN;
        if (matters && parameters.codec_id == AV_CODEC_ID_NONE && parameters.codec_tag == 0)
            return true;
    }
    return false;
}

bool NoDuration(const FilmView &view) {
    return FilmDuration(view) == 0;
}

bool NoSize(const FilmView &view) {
    return view.film != nullptr && (view.film->codecpar->width == 0 || view.film->codecpar->height == 0);
}

bool NoFrameRate(const FilmView &view) {
    return view.film != nullptr && view.film->avg_frame_rate.num == 0;
}

bool NoSampleRate(const FilmView &view) {
    return view.sound != nullptr &&
           (view.sound->codecpar->sample_rate == 0 || Channels(*view.sound->codecpar) == 0);
}

bool ColoursUnsaid(const FilmView &view) {
    return view.film != nullptr && view.film->codecpar->color_trc == AVCOL_TRC_UNSPECIFIED &&
           IsDeepColour(*view.film->codecpar);
}

// Of HEVC the decoder tells them when it is opened with the configuration that containers keep.
bool ColoursInConfiguration(const FilmView &view) {
    return ColoursUnsaid(view) && view.film->codecpar->codec_id == AV_CODEC_ID_HEVC &&
           view.film->codecpar->extradata_size > 0;
}

bool ColoursInStream(const FilmView &view) {
    return ColoursUnsaid(view) && !ColoursInConfiguration(view);
}

// MPEG audio in a container that does not say its rate: each frame may have another one.
bool RateInMpegFrames(const FilmView &view) {
    return view.sound != nullptr && view.sound->codecpar->bit_rate <= 0 &&
           IsMpegAudio(view.sound->codecpar->codec_id);
}

// Frames of a constant rate. DTS in MP4 has one in its headers too, which counts the padding.
bool RateInFrame(const FilmView &view) {
    if (view.sound == nullptr)
        return false;
    switch (view.sound->codecpar->codec_id) {
    case AV_CODEC_ID_AC3:
    case AV_CODEC_ID_EAC3:
    case AV_CODEC_ID_SPEEX:
        return view.sound->codecpar->bit_rate <= 0;
    case AV_CODEC_ID_DTS:
        return true;
    default:
        return false;
    }
}

// Samples without loss, whose depth stands in the codec's own header.
bool DepthInStream(const FilmView &view) {
    if (view.sound == nullptr || view.sound->codecpar->bits_per_raw_sample != 0)
        return false;
    const AVCodecDescriptor *codec = avcodec_descriptor_get(view.sound->codecpar->codec_id);
    return codec != nullptr && (codec->props & AV_CODEC_PROP_LOSSLESS) != 0 &&
           av_get_bits_per_sample(codec->id) == 0;
}

// AAC below half of the usual rates may hold the upper half of the sound, or a second channel, unannounced (ISO/IEC 14496-3,
// implicit signalling of SBR and PS).
bool HiddenBand(const FilmView &view) {
    return view.sound != nullptr && view.sound->codecpar->codec_id == AV_CODEC_ID_AAC &&
           view.sound->codecpar->sample_rate <= kPlainAacRateMin &&
           view.sound->codecpar->profile != FF_PROFILE_AAC_HE;
}

// The order is that of their words' usefulness to somebody who reads them.
constexpr OpenQuestion kQuestions[] = {
    {"no streams yet", FilmLook::search, NoStreamsYet},
    {"unknown codec", FilmLook::search, UnknownCodec},
    {"no duration", FilmLook::search, NoDuration},
    {"no size of the picture", FilmLook::search, NoSize},
    {"no frame rate", FilmLook::search, NoFrameRate},
    {"no sample rate", FilmLook::search, NoSampleRate},
    {"colours in the stream", FilmLook::search, ColoursInStream},
    {"colours in the configuration", FilmLook::film_codec, ColoursInConfiguration},
    {"bit rate in the frames", FilmLook::sound_frame, RateInFrame},
    {"depth in the stream", FilmLook::sound_frame, DepthInStream},
    {"hidden band", FilmLook::sound_frame, HiddenBand},
    {"bit rate of varying frames", FilmLook::mpeg_frames, RateInMpegFrames},
};

} // namespace

const OpenQuestion *OpenQuestionFor(FilmLook look, const FilmView &view) {
    const auto *question = std::ranges::find_if(
        kQuestions, [&](const OpenQuestion &one) { return one.look == look && one.is_open(view); });
    return question != std::end(kQuestions) ? question : nullptr;
}
