// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/film_facts.h"

extern "C" {
#include <libavutil/display.h>
}

#include <string.h>

#include <cmath>
#include <limits>

#include "reader/film/container_name.h"
#include "reader/film/film_times.h"
#include "reader/film/hdr.h"

namespace {

void TextAdd(FactList *facts, FactName name, const char *text) {
    if (text != nullptr)
        FactAddText(facts, name, FactSource::libavformat, text);
}

// What is 0 is not known.
void NumberAdd(FactList *facts, FactName name, double number) {
    if (number > 0)
        FactAddNumber(facts, name, FactSource::libavformat, number);
}

bool IsDsd(AVCodecID codec) {
    return codec == AV_CODEC_ID_DSD_LSBF || codec == AV_CODEC_ID_DSD_MSBF ||
           codec == AV_CODEC_ID_DSD_LSBF_PLANAR || codec == AV_CODEC_ID_DSD_MSBF_PLANAR;
}

const char *CodecName(const AVCodecParameters &parameters) {
    return parameters.codec_id != AV_CODEC_ID_NONE ? avcodec_get_name(parameters.codec_id) : nullptr;
}

void SoundRead(const FilmView &view, FactList *facts) {
    const AVCodecParameters &sound = *view.sound->codecpar;
    TextAdd(facts, FactName::codec, CodecName(sound));
    NumberAdd(facts, FactName::audio_bitrate, static_cast<double>(SoundBitRate(view)));
    NumberAdd(facts, FactName::channels, Channels(sound));
    // libavformat counts the bytes of DSD, whose samples are bits.
    NumberAdd(facts, FactName::sample_rate, double{1} * sound.sample_rate * (IsDsd(sound.codec_id) ? 8 : 1));
    const int bits = av_get_bits_per_sample(sound.codec_id);
    NumberAdd(facts, FactName::bits_per_sample,
              IsDsd(sound.codec_id) ? 1
              : bits > 0            ? bits
                                    : sound.bits_per_raw_sample);
}

// Degrees clockwise, of which libavutil's are the other way round. A matrix that turns nothing (a mirror) has none.
double Rotation(const AVStream &film) {
    const uint8_t *matrix = StreamSideData(film, AV_PKT_DATA_DISPLAYMATRIX);
    if (matrix == nullptr)
        return 0;
    int32_t numbers[9];
    memcpy(numbers, matrix, sizeof numbers);
    const double degrees = -av_display_rotation_get(numbers);
    return std::isfinite(degrees) ? std::fmod(std::round(degrees) + 360, 360) : 0;
}

void FilmRead(const FilmView &view, FactList *facts) {
    const AVStream &film = *view.film;
    TextAdd(facts, FactName::video_codec, CodecName(*film.codecpar));
    NumberAdd(facts, FactName::video_bitrate, static_cast<double>(FilmBitRate(view)));
    NumberAdd(facts, FactName::width, film.codecpar->width);
    NumberAdd(facts, FactName::height, film.codecpar->height);
    const AVRational rate = film.avg_frame_rate.num > 0 ? film.avg_frame_rate : film.r_frame_rate;
    NumberAdd(facts, FactName::frame_rate, rate.den > 0 ? av_q2d(rate) : 0);
    NumberAdd(facts, FactName::rotation, Rotation(film));
    TextAdd(facts, FactName::hdr, HdrOf(view));
}

// "und" is the word for a language that is not known.
void LanguageAdd(const AVStream &stream, FactList *facts) {
    const AVMediaType type = stream.codecpar->codec_type;
    if (type != AVMEDIA_TYPE_AUDIO && type != AVMEDIA_TYPE_SUBTITLE)
        return;
    const AVDictionaryEntry *language = av_dict_get(stream.metadata, "language", nullptr, 0);
    if (language != nullptr && strcmp(language->value, "und") != 0)
        TextAdd(facts, type == AVMEDIA_TYPE_AUDIO ? FactName::audio_language : FactName::subtitle_language,
                language->value);
}

} // namespace

void FilmStreamsRead(const FilmView &view, ReaderInput *file, FactList *facts) {
    TextAdd(facts, FactName::container, ContainerName(view, file).c_str());
    NumberAdd(facts, FactName::duration, static_cast<double>(FilmDuration(view)) / AV_TIME_BASE);
    if (view.sound != nullptr)
        SoundRead(view, facts);
    if (view.film != nullptr)
        FilmRead(view, facts);
    for (unsigned i = 0; i < view.format->nb_streams; ++i)
        LanguageAdd(*view.format->streams[i], facts);
}

void FilmChaptersRead(const AVFormatContext &format, FactList *facts) {
    for (unsigned i = 0; i < format.nb_chapters; ++i) {
        const AVDictionaryEntry *title = av_dict_get(format.chapters[i]->metadata, "title", nullptr, 0);
        TextAdd(facts, FactName::chapter, title != nullptr ? title->value : nullptr);
    }
}
