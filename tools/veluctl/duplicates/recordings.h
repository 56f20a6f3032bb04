// SPDX-License-Identifier: GPL-2.0-or-later
//
// Songs that are the same recording, whatever their format.
#pragma once

#include "tools/veluctl/duplicates/copies.h"

// Finds songs of the same artist and title, of those that have a title of their own as far as the catalogue knows (the others are counted), without regard to case and accents, whose lengths follow each other within `tolerance`
// seconds. Nothing is read but the catalogue; the songs that are found are looked at. The file of a group that is to stay comes first: one of a lossless
// format, and of these or of the others the largest. False,
// with the reason in the reader, when the catalogue cannot be read.
[[nodiscard]] bool RecordingsFind(CopySearch *search, uint32_t tolerance);
