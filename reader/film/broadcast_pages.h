// SPDX-License-Identifier: GPL-2.0-or-later
//
// The character sets of broadcasts.
#pragma once

// Opens a converter for each of them. libavformat asks for one where a transport stream has text; the C library loads it from a file,
// which is forbidden by then, unless it is loaded already.
void BroadcastPagesOpen();
