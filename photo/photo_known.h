// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the catalogues know of the photo share.
#pragma once

#include <string>

// Whether one of them has something below a path, as the storage module asks (daemon/storage_away.h). The media catalogue
// counts too: an album may have rows that the photo catalogue has lost.
int PhotoKnows(const std::string &path, bool itself);
