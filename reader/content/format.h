// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a file can be.
#pragma once

#include <stdint.h>

#include "reader/protocol/message.h"

enum class ContentFormat : uint8_t {
    unknown,
    // Sound: TagLib reads it.
    mpeg_audio, // ISO/IEC 11172-3, 13818-3, with or without ID3
    aac,        // ADTS
    flac,
    ogg_vorbis,
    ogg_opus,
    ogg_speex,
    ogg_flac,
    mp4_sound, // ISO/IEC 14496-12 with sound tracks alone (covers are no film)
    asf_sound,
    aiff,
    wav, // RIFF WAVE, RF64 too
    ape,
    wavpack,
    musepack,
    trueaudio,
    dsf,
    dsdiff,
    // Sound that libavformat reads.
    other_sound, // AC-3, DTS, AU, CAF, W64, AMR, RealAudio, ...
    midi,        // its header alone is read
    // Films, and containers that say only further inside whether they hold one (Matroska, RealMedia): libavformat reads it
    // and decides.
    film,
    // Pictures: Exiv2 reads it.
    jpeg,
    png,
    gif,
    bmp,
    tiff, // and raw photos on its ground
    raw,  // raw photos of grounds of their own
    webp,
    heif, // HEIC, AVIF
    jpeg2000,
    jpegxl,
    psd,
    ico,
    svg,
    targa,
    // Names other files: no reader's.
    playlist,
};

// Whose file it is. Of `unknown` none is sure.
ReaderKind ContentReader(ContentFormat format);
ContentClass ContentClassOf(ContentFormat format);
