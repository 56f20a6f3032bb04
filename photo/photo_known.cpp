// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_known.h"

#include <algorithm>

#include "platform/veluindex.h"

int PhotoKnows(const std::string &path, bool itself) {
    const int photo = VELUIndexKnows(Catalogue::photo, path.c_str(), itself);
    if (photo == 1)
        return 1;
    const int media = VELUIndexKnows(Catalogue::media, path.c_str(), itself);
    return media == 1 ? 1 : std::min(photo, media);
}
