// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/library_files.h"

#include <taglib/apefile.h>
#include <taglib/flacfile.h>
#include <taglib/mpcfile.h>
#include <taglib/oggflacfile.h>
#include <taglib/oggpageheader.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/trueaudiofile.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavpackfile.h>

#include "reader/sound/end_tags.h"
#include "reader/sound/library_stream.h"
#include "reader/sound/ogg_comments.h"
#include "reader/sound/sound_bytes.h"
#include "reader/sound/xiph_comments.h"

namespace {

// What all of TagLib's properties have. None is no bit rate, and one in the file's tags' favour.
template <class Properties>
SoundStream StreamOf(const Properties &properties, const char *codec, const char *container) {
    SoundStream stream;
    stream.duration = properties.lengthInMilliseconds() / 1000.0;
    stream.bitrate = properties.bitrate() * 1000.0;
    stream.sample_rate = static_cast<uint64_t>(std::max(properties.sampleRate(), 0));
    stream.channels = static_cast<uint64_t>(std::max(properties.channels(), 0));
    stream.codec = codec;
    stream.container = container;
    return stream;
}

template <class Properties>
SoundStream LosslessStreamOf(const Properties &properties, const char *codec, const char *container) {
    SoundStream stream = StreamOf(properties, codec, container);
    stream.bits_per_sample = static_cast<uint64_t>(std::max(properties.bitsPerSample(), 0));
    return stream;
}

void StreamAdd(const SoundStream &stream, SoundFile *file) {
    StreamFactsAdd(stream, FactSource::taglib, file->facts);
}

// An encoder that cannot go back does not tell how much it has written; the last page does.
void OggFlacDuration(TagLib::Ogg::FLAC::File *ogg, SoundStream *stream, int64_t bytes) {
    const TagLib::Ogg::PageHeader *last = ogg->lastPageHeader();
    if (stream->duration > 0 || last == nullptr || stream->sample_rate == 0)
        return;
    stream->duration =
        static_cast<double>(last->absoluteGranularPosition()) / static_cast<double>(stream->sample_rate);
    if (stream->duration > 0)
        stream->bitrate = static_cast<double>(bytes) * 8 / stream->duration;
}

template <class Ogg>
void OggFactsAdd(const Ogg &ogg, const SoundStream &stream, SoundFile *file) {
    StreamAdd(stream, file);
    XiphFactsAdd(ogg.tag(), {}, file);
}

// TagLib reads the stream between the tags. It takes any file for one of these, so that the mark is looked at before.
template <class File, class Describe>
void BetweenTagsRead(SoundFile *file, std::string_view mark, Describe describe) {
    const SoundBounds bounds = SoundBoundsFind(file->input);
    uint8_t begin[4];
    if (BeginsWith({begin, SoundRead(file->input, bounds.begin, begin)}, mark)) {
        LibraryStream stream(file->input, bounds.begin, bounds.end);
        const File library(&stream);
        if (library.isValid() && library.audioProperties() != nullptr)
            StreamAdd(describe(*library.audioProperties()), file);
    }
    EndTagsRead(file, bounds, EndTagOrder::kApeFirst);
}

} // namespace

void FlacRead(SoundFile *file) {
    const SoundBounds bounds = SoundBoundsFind(file->input);
    LibraryStream stream(file->input, bounds.begin, bounds.end);
    if (FlacCommentsAreBounded(file->input, bounds.begin)) {
        TagLib::FLAC::File flac(&stream, nullptr);
        if (flac.isValid() && flac.audioProperties() != nullptr)
            StreamAdd(LosslessStreamOf(*flac.audioProperties(), "flac", "flac"), file);
        XiphFactsAdd(flac.hasXiphComment() ? flac.xiphComment() : nullptr, flac.pictureList(), file);
    }
    EndTagsRead(file, bounds, EndTagOrder::kId3First);
}

void OggRead(SoundFile *file, ContentFormat format) {
    if (!OggCommentsAreBounded(file->input))
        return;
    const OggComments comments = OggCommentsFind(file->input);
    LibraryStream stream(file->input, comments.head, comments.rest, file->input->size);
    if (format == ContentFormat::ogg_vorbis) {
        const TagLib::Ogg::Vorbis::File ogg(&stream);
        if (ogg.isValid())
            OggFactsAdd(ogg, StreamOf(*ogg.audioProperties(), "vorbis", "ogg"), file);
    } else if (format == ContentFormat::ogg_opus) {
        const TagLib::Ogg::Opus::File ogg(&stream);
        if (ogg.isValid())
            OggFactsAdd(ogg, StreamOf(*ogg.audioProperties(), "opus", "ogg"), file);
    } else if (format == ContentFormat::ogg_speex) {
        const TagLib::Ogg::Speex::File ogg(&stream);
        if (ogg.isValid())
            OggFactsAdd(ogg, StreamOf(*ogg.audioProperties(), "speex", "ogg"), file);
    } else {
        TagLib::Ogg::FLAC::File ogg(&stream);
        if (!ogg.isValid() || ogg.audioProperties() == nullptr)
            return;
        SoundStream found = LosslessStreamOf(*ogg.audioProperties(), "flac", "ogg");
        OggFlacDuration(&ogg, &found, stream.length());
        OggFactsAdd(ogg, found, file);
    }
    OggPicturesTake(file->input, comments, file->picture);
}

void ApeFamilyRead(SoundFile *file, ContentFormat format) {
    if (format == ContentFormat::ape)
        BetweenTagsRead<TagLib::APE::File>(
            file, "MAC ", [](const auto &properties) { return LosslessStreamOf(properties, "ape", "ape"); });
    else if (format == ContentFormat::wavpack)
        BetweenTagsRead<TagLib::WavPack::File>(file, "wvpk", [](const auto &properties) {
            return LosslessStreamOf(properties, "wavpack", "wv");
        });
    else if (format == ContentFormat::trueaudio)
        BetweenTagsRead<TagLib::TrueAudio::File>(
            file, "TTA", [](const auto &properties) { return LosslessStreamOf(properties, "tta", "tta"); });
    else
        BetweenTagsRead<TagLib::MPC::File>(file, "MP", [](const auto &properties) {
            const bool eight = properties.mpcVersion() >= 8;
            return StreamOf(properties, eight ? "musepack8" : "musepack7", eight ? "mpc8" : "mpc");
        });
}
