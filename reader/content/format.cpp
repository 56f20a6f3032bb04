// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/format.h"

ContentClass ContentClassOf(ContentFormat format) {
    switch (format) {
    case ContentFormat::unknown:
        return ContentClass::unknown;
    case ContentFormat::mpeg_audio:
    case ContentFormat::aac:
    case ContentFormat::flac:
    case ContentFormat::ogg_vorbis:
    case ContentFormat::ogg_opus:
    case ContentFormat::ogg_speex:
    case ContentFormat::ogg_flac:
    case ContentFormat::mp4_sound:
    case ContentFormat::asf_sound:
    case ContentFormat::aiff:
    case ContentFormat::wav:
    case ContentFormat::ape:
    case ContentFormat::wavpack:
    case ContentFormat::musepack:
    case ContentFormat::trueaudio:
    case ContentFormat::dsf:
    case ContentFormat::dsdiff:
    case ContentFormat::other_sound:
    case ContentFormat::midi:
        return ContentClass::sound;
    case ContentFormat::film:
        return ContentClass::film;
    case ContentFormat::jpeg:
    case ContentFormat::png:
    case ContentFormat::gif:
    case ContentFormat::bmp:
    case ContentFormat::tiff:
    case ContentFormat::raw:
    case ContentFormat::webp:
    case ContentFormat::heif:
    case ContentFormat::jpeg2000:
    case ContentFormat::jpegxl:
    case ContentFormat::psd:
    case ContentFormat::ico:
    case ContentFormat::svg:
    case ContentFormat::targa:
        return ContentClass::picture;
    case ContentFormat::playlist:
        return ContentClass::playlist;
    }
    return ContentClass::unknown;
}

ReaderKind ContentReader(ContentFormat format) {
    switch (format) {
    case ContentFormat::film:
    case ContentFormat::other_sound:
        return ReaderKind::films;
    default:
        return ReaderKind::sound_and_photos;
    }
}
