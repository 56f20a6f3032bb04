// SPDX-License-Identifier: GPL-2.0-or-later
//
// Telling that a catalogue's file is damaged, which nothing mends by itself.
#pragma once

#include <string_view>

#include "platform/veluindex.h"

// By the rules `complete`, one log line when a reason is that of a damaged file: which command knows what to do.
void DamageTell(Catalogue catalogue, std::string_view reason);
