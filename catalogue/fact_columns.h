// SPDX-License-Identifier: GPL-2.0-or-later
//
// From what a reader says of a file to the columns of its row.
#pragma once

#include "catalogue/media_info.h"
#include "reader/protocol/message.h"

// Fills the columns of a record that bear the name of a fact. Several values are joined by "; ", text that does not fit is cut
// at a character, and the year comes from the date when there is no other.
void FactColumnsFill(const Answer &answer, MediaInfo *record);
