// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/film_times.h"

#include <stdlib.h>

#include <algorithm>
#include <limits>

namespace {

constexpr AVRational kMicroseconds = {1, AV_TIME_BASE};

// From the first stream's begin to the last one's end.
int64_t StreamsDuration(const AVFormatContext &format) {
    int64_t begin = std::numeric_limits<int64_t>::max();
    int64_t end = std::numeric_limits<int64_t>::min();
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream &stream = *format.streams[i];
        if (stream.duration == AV_NOPTS_VALUE || stream.duration <= 0)
            continue;
        const int64_t start = stream.start_time != AV_NOPTS_VALUE
                                  ? av_rescale_q(stream.start_time, stream.time_base, kMicroseconds)
                                  : 0;
        const int64_t length = av_rescale_q(stream.duration, stream.time_base, kMicroseconds);
        int64_t stop = 0;
        if (length <= 0 || __builtin_add_overflow(start, length, &stop))
            continue;
        begin = std::min(begin, start);
        end = std::max(end, stop);
    }
    int64_t duration = 0;
    return begin < end && !__builtin_sub_overflow(end, begin, &duration) ? duration : 0;
}

int64_t FileBitRate(const FilmView &view) {
    const int64_t duration = FilmDuration(view);
    return duration > 0 ? av_rescale_rnd(view.size, int64_t{8} * AV_TIME_BASE, duration, AV_ROUND_DOWN)
                        : std::max<int64_t>(view.format->bit_rate, 0);
}

int64_t StreamBitRate(const AVStream &stream) {
    const AVCodecParameters &parameters = *stream.codecpar;
    if (parameters.bit_rate > 0)
        return parameters.bit_rate;
    if (parameters.codec_type == AVMEDIA_TYPE_AUDIO) {
        // Plain samples have the rate that follows from them.
        const int64_t bits = av_get_bits_per_sample(parameters.codec_id);
        if (bits > 0 && parameters.sample_rate > 0 && Channels(parameters) > 0)
            return bits * parameters.sample_rate * Channels(parameters);
    }
    const AVDictionaryEntry *said = av_dict_get(stream.metadata, "BPS", nullptr, AV_DICT_IGNORE_SUFFIX);
    return said != nullptr ? std::max<int64_t>(strtoll(said->value, nullptr, 10), 0) : 0;
}

} // namespace

int64_t FilmDuration(const FilmView &view) {
    return view.format->duration > 0 ? view.format->duration : StreamsDuration(*view.format);
}

int64_t SoundBitRate(const FilmView &view) {
    if (view.sound == nullptr)
        return 0;
    const int64_t own = StreamBitRate(*view.sound);
    const bool alone = view.film == nullptr && view.format->nb_streams == 1;
    return own > 0 || !alone ? own : FileBitRate(view);
}

int64_t FilmBitRate(const FilmView &view) {
    if (view.film == nullptr)
        return 0;
    const int64_t own = StreamBitRate(*view.film);
    return own > 0 ? own : FileBitRate(view);
}
