// SPDX-License-Identifier: GPL-2.0-or-later
#include <exception>

#include "reader/readers.h"
#include "reader/sound/adts.h"
#include "reader/sound/aiff.h"
#include "reader/sound/dsd.h"
#include "reader/sound/library_files.h"
#include "reader/sound/mp4_file.h"
#include "reader/sound/mpeg.h"
#include "reader/sound/riff.h"
#include "reader/text/code_pages.h"

namespace {

// Returns whether the format is one of sound that is read here.
bool FormatRead(SoundFile *file, ContentFormat format) {
    switch (format) {
    case ContentFormat::mpeg_audio:
        MpegRead(file);
        return true;
    case ContentFormat::aac:
        AdtsRead(file);
        return true;
    case ContentFormat::flac:
        FlacRead(file);
        return true;
    case ContentFormat::ogg_vorbis:
    case ContentFormat::ogg_opus:
    case ContentFormat::ogg_speex:
    case ContentFormat::ogg_flac:
        OggRead(file, format);
        return true;
    case ContentFormat::mp4_sound:
        Mp4Read(file);
        return true;
    case ContentFormat::asf_sound:
        AsfRead(file);
        return true;
    case ContentFormat::aiff:
        AiffRead(file);
        return true;
    case ContentFormat::wav:
        WavRead(file);
        return true;
    case ContentFormat::ape:
    case ContentFormat::wavpack:
    case ContentFormat::musepack:
    case ContentFormat::trueaudio:
        ApeFamilyRead(file, format);
        return true;
    case ContentFormat::dsf:
        DsfRead(file);
        return true;
    case ContentFormat::dsdiff:
        DsdiffRead(file);
        return true;
    default:
        return false;
    }
}

} // namespace

ReadOutcome SoundFactsRead(ReaderInput *input, ContentFormat format, FactList *facts, PictureSink *picture) {
    SoundFile file{input, facts, picture};
    ReadOutcome outcome;
    outcome.content = ContentClass::sound;
    try {
        if (!FormatRead(&file, format)) {
            outcome.reason = "no format of sound";
        } else if (FactFind(*facts, FactName::codec) == nullptr &&
                   FactFind(*facts, FactName::duration) == nullptr) {
            outcome.reason = "no sound was found";
        } else {
            outcome.status = AnswerStatus::read;
        }
    } catch (const std::exception &error) {
        outcome.reason = error.what();
    } catch (...) {
        outcome.reason = "TagLib gave up";
    }
    return outcome;
}

void SoundReaderWarm() {
    CodePagesOpen();
}
