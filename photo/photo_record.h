// SPDX-License-Identifier: GPL-2.0-or-later
//
// What may go from a PhotoRecord into a catalogue.
#pragma once

#include "platform/photo_record.h"

// Replaces what cameras write by mistake: a width or height outside 0 to 8000 becomes 0; a date, make or
// model with a byte that is no printable ASCII (0x7F counts as one) is emptied. Returns 0, or -1 without a
// record.
int PhotoRecordSanitize(PhotoRecord *record);
