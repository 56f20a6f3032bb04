// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/film.h"

#include "container/probe_module/open.h"
#include "platform/limits.h"
#include "reader/film/codec_look.h"
#include "reader/film/film_facts.h"
#include "reader/film/film_input.h"
#include "reader/film/film_picture.h"
#include "reader/film/film_tags.h"
#include "reader/film/midi.h"
#include "reader/film/open_questions.h"

namespace {

constexpr FormatManner kManner{
    .probe_bytes = kFilmProbeBytes, .streams = kFilmStreamsMax, .all_programs = true};

ReadOutcome Failure(const ReaderInput &input, int error) {
    char words[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(input.failed ? AVERROR(EIO) : error, words, sizeof words);
    return {.status = AnswerStatus::failed, .content = ContentClass::unknown, .reason = words};
}

ContentClass ContentOf(const FilmView &view) {
    return view.film != nullptr    ? ContentClass::film
           : view.sound != nullptr ? ContentClass::sound
                                   : ContentClass::unknown;
}

// Answers what the headers leave open, as cheaply as that can be. Returns libavformat's error of the search.
int QuestionsAnswer(FilmWay way, FilmView *view, const char **searched) {
    const OpenQuestion *search = OpenQuestionFor(FilmLook::search, *view);
    const OpenQuestion *colours = OpenQuestionFor(FilmLook::film_codec, *view);
    const OpenQuestion *sound = OpenQuestionFor(FilmLook::sound_frame, *view);
    const bool is_answered = way == FilmWay::as_needed && search == nullptr &&
                             (colours == nullptr || FilmCodecLook(*view)) &&
                             (sound == nullptr || SoundFrameLook(*view));
    if (searched != nullptr && !is_answered)
        *searched = search != nullptr ? search->words : "asked for";
    const int error = is_answered ? 0 : avformat_find_stream_info(view->format, nullptr);
    *view = FilmViewOf(view->format, view->size);
    return error;
}

} // namespace

ReadOutcome FilmFactsReadBy(FilmWay way, ReaderInput *input, ContentFormat format, FactList *facts,
                            PictureSink *picture, const char **searched) {
    if (searched != nullptr)
        *searched = nullptr;
    if (format == ContentFormat::midi)
        return MidiFactsRead(input, facts);
    FilmInput source{.file = input, .position = 0, .left = 0};
    const AvioHandle avio = FilmInputOpen(&source);
    if (avio == nullptr)
        return Failure(*input, AVERROR(ENOMEM));
    // The name's extension alone says what some files without a mark of their own are.
    const std::string name = input->extension.empty() ? "" : "film." + input->extension;
    int error = 0;
    const FormatHandle opened = FormatOpen(name.c_str(), avio.get(), kManner, &error);
    if (opened == nullptr)
        return Failure(*input, error);

    FilmView view = FilmViewOf(opened.get(), input->size);
    error = QuestionsAnswer(way, &view, searched);
    const ContentClass content = ContentOf(view);
    if (content == ContentClass::unknown)
        return Failure(*input, error < 0 ? error : AVERROR_STREAM_NOT_FOUND);
    FilmPictureTake(*opened, picture);
    FilmStreamsRead(view, input, facts);
    FilmTagsRead(view, facts);
    FilmChaptersRead(*opened, facts);
    return {.status = AnswerStatus::read, .content = content, .reason = {}};
}

ReadOutcome FilmFactsRead(ReaderInput *input, ContentFormat format, FactList *facts, PictureSink *picture) {
    return FilmFactsReadBy(FilmWay::as_needed, input, format, facts, picture);
}

void FilmReaderWarm() {
    av_log_set_level(AV_LOG_QUIET); // its remarks would go to standard error
}
