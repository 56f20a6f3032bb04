// SPDX-License-Identifier: GPL-2.0-or-later
//
// The appliance's converter of videos to Flash video.
#pragma once

// Hands a file to the converter program and waits for it. What the store holds of this run is committed
// first: the converter may look the file up.
void FlvConverterRun(const char *path);
