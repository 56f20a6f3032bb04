// SPDX-License-Identifier: GPL-2.0-or-later
//
// The one line on a terminal that tells how far something is.
#pragma once

#include <stdio.h>

#include <string>

// Writes it in the place of what stands there: a text, and what it is at, which is cut in its middle. Both are safe (SafeText).
void TerminalLineShow(FILE *out, const std::string &text, const std::string &place);
