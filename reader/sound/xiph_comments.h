// SPDX-License-Identifier: GPL-2.0-or-later
//
// Vorbis comments, as TagLib has taken them from FLAC and Ogg.
#pragma once

#include <taglib/flacpicture.h>
#include <taglib/xiphcomment.h>

#include "reader/sound/sound_file.h"

// Adds the facts of comments, and the cover among their pictures and `pictures`, which FLAC has blocks for.
void XiphFactsAdd(TagLib::Ogg::XiphComment *comments, const TagLib::List<TagLib::FLAC::Picture *> &pictures,
                  SoundFile *file);

// Whether TagLib may be given the comments at these places: it takes as many as they say, a hundred bytes of memory for
// each of six in the file.
bool FlacCommentsAreBounded(ReaderInput *input, int64_t begin);
bool OggCommentsAreBounded(ReaderInput *input);
