// SPDX-License-Identifier: GPL-2.0-or-later
//
// The short name of an ISO file.
#pragma once

#include <string_view>

// libavformat has one name for the family ("mov,mp4,m4a,3gp,3g2,mj2"); the major brand says which member a file is. Empty: it has
// none, as QuickTime files of old.
const char *IsoContainerName(std::string_view brand);
