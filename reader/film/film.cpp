// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/film.h"

#include "container/probe_module/open.h"
#include "platform/limits.h"
#include "reader/film/broadcast_pages.h"
#include "reader/film/codec_look.h"
#include "reader/film/film_facts.h"
#include "reader/film/film_input.h"
#include "reader/film/film_picture.h"
#include "reader/film/film_tags.h"
#include "reader/film/midi.h"
#include "reader/film/mpeg_rate.h"
#include "reader/film/open_questions.h"
#include "reader/film/search.h"
#include "reader/film/track_numbers.h"

namespace {

constexpr FormatManner kManner{
    .probe_bytes = kFilmProbeBytes, .streams = kFilmStreamsMax, .all_programs = true};

// What libavformat calls an invalid argument is what it has read from the file.
ReadOutcome Failure(const ReaderInput &input, int error) {
    char words[AV_ERROR_MAX_STRING_SIZE] = "what it says of its structure cannot be";
    if (input.failed || error != AVERROR(EINVAL))
        av_strerror(input.failed ? AVERROR(EIO) : error, words, sizeof words);
    return {.status = AnswerStatus::failed, .content = ContentClass::unknown, .reason = words};
}

ContentClass ContentOf(const FilmView &view) {
    return view.film != nullptr    ? ContentClass::film
           : view.sound != nullptr ? ContentClass::sound
                                   : ContentClass::unknown;
}

struct Look {
    FilmLook what;
    bool (*take)(const FilmView &);
    bool reads_on; // packets
};

// The search has none: it is what is done where one of these does not work out.
constexpr Look kLooks[] = {{FilmLook::film_codec, FilmCodecLook, false},
                           {FilmLook::sound_frame, SoundFrameLook, true},
                           {FilmLook::mpeg_frames, MpegRateLook, true}};

// Answers what the headers leave open, where that can be done without the search. Returns why it takes that, or null.
const char *SearchReason(FilmWay way, const FilmView &view, bool *read_on) {
    if (way == FilmWay::always_search)
        return "asked for";
    if (const OpenQuestion *search = OpenQuestionFor(FilmLook::search, view))
        return search->words;
    for (const Look &look : kLooks) {
        const OpenQuestion *question = OpenQuestionFor(look.what, view);
        *read_on = *read_on || (question != nullptr && look.reads_on);
        if (question != nullptr && !look.take(view))
            return question->words;
    }
    return nullptr;
}

// The file as libavformat has it open.
struct OpenFilm {
    AVIOContext *avio;
    std::string name;
    int64_t size; // bytes
    FormatHandle format;
    int error = 0; // the library's last one
};

// From its begin, also for another time.
bool Open(OpenFilm *film) {
    film->format.reset();
    avio_seek(film->avio, 0, SEEK_SET);
    film->format = FormatOpen(film->name.c_str(), film->avio, kManner, &film->error);
    return film->format != nullptr;
}

FilmView ViewOf(const OpenFilm &film) {
    return FilmViewOf(film.format.get(), film.size);
}

// Searches for the streams' parameters, which begins where the file does; `read_on`: packets have been read. False when the file
// cannot be opened once more.
bool Search(OpenFilm *film, FilmWay way, bool read_on) {
    if (read_on && !Open(film))
        return false;
    if (way == FilmWay::as_needed) {
        film->error = StreamsSearch(film->format.get());
        const FilmView found = ViewOf(*film);
        if (!HasMeanOfFrames(found) && (!IsPictureLeftOut(found) || PictureHeadLook(found)))
            return true;
        if (!Open(film))
            return false;
    }
    film->error = avformat_find_stream_info(film->format.get(), nullptr);
    return true;
}

} // namespace

ReadOutcome FilmFactsReadBy(FilmWay way, ReaderInput *input, ContentFormat format, FactList *facts,
                            PictureSink *picture, const char **searched) {
    if (searched != nullptr)
        *searched = nullptr;
    if (format == ContentFormat::midi)
        return MidiFactsRead(input, facts);
    if (const char *fault = TrackNumberFault(input))
        return {AnswerStatus::failed, ContentClass::unknown, fault};
    FilmInput source{.file = input, .position = 0, .left = 0};
    const AvioHandle avio = FilmInputOpen(&source);
    if (avio == nullptr)
        return Failure(*input, AVERROR(ENOMEM));
    // The name's extension alone says what some files without a mark of their own are.
    OpenFilm film = {.avio = avio.get(),
                     .name = input->extension.empty() ? "" : "film." + input->extension,
                     .size = input->size,
                     .format = nullptr};
    if (!Open(&film))
        return Failure(*input, film.error);

    bool read_on = false;
    const char *reason = SearchReason(way, ViewOf(film), &read_on);
    if (searched != nullptr)
        *searched = reason;
    if (reason != nullptr && !Search(&film, way, read_on))
        return Failure(*input, film.error);
    const FilmView view = ViewOf(film);
    const ContentClass content = ContentOf(view);
    if (content == ContentClass::unknown)
        return Failure(*input, film.error < 0 ? film.error : AVERROR_STREAM_NOT_FOUND);
    FilmPictureTake(*film.format, picture);
    FilmStreamsRead(view, input, facts);
    FilmTagsRead(view, facts);
    FilmChaptersRead(*film.format, facts);
    return {.status = AnswerStatus::read, .content = content, .reason = {}};
}

ReadOutcome FilmFactsRead(ReaderInput *input, ContentFormat format, FactList *facts, PictureSink *picture) {
    return FilmFactsReadBy(FilmWay::as_needed, input, format, facts, picture);
}

void FilmReaderWarm() {
    av_log_set_level(AV_LOG_QUIET); // its remarks would go to standard error
    BroadcastPagesOpen();
}
