// SPDX-License-Identifier: GPL-2.0-or-later
//
// Standard MIDI files, which libavformat does not know. They hold notes, not sound: how long and how loud is the player's
// affair, so that the header alone is read.
#pragma once

#include "reader/readers.h"

ReadOutcome MidiFactsRead(ReaderInput *input, FactList *facts);
