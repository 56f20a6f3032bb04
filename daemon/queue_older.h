// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files whose rows an older revision of the readers has filled, under the rule set `complete`: walks leave them as they are, and
// they are read again when no request waits.
#pragma once

#include <stddef.h>

// Reads such files for some seconds, those that come next by their paths, or until `stop` says so. Returns how many it has
// read. Once there are none left it does nothing more.
size_t OlderFilesRead(bool (*stop)());

// Begins anew with the first file.
void OlderFilesBegin();
