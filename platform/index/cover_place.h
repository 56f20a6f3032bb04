// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a run has to know of the covers that were stored while it went on.
#pragma once

// Brings the covers that have got a place since the last call to the disk. False, with the reason in errno, when
// they may not be there.
bool CoversSync();
