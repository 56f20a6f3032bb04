// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/picture_choice.h"

namespace {

bool AnyTaken(const std::vector<TagPicture> &pictures, bool front, PictureSink *sink) {
    for (const TagPicture &picture : pictures) {
        if ((picture.type == kFrontCover) == front && PictureTake(sink, std::as_bytes(picture.bytes)))
            return true;
    }
    return false;
}

} // namespace

void PicturesTake(const std::vector<TagPicture> &pictures, PictureSink *sink) {
    if (!AnyTaken(pictures, true, sink))
        AnyTaken(pictures, false, sink);
}
