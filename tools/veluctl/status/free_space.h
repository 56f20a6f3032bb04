// SPDX-License-Identifier: GPL-2.0-or-later
//
// How much room there is left.
#pragma once

#include <stdint.h>

#include <string>

// Returns the bytes that may still be written where a path lies, or would; -1: not known.
int64_t FreeBytes(std::string path);

// Returns that in words, with the text in front; nothing when it is not known.
std::string FreeText(const std::string &front, int64_t bytes);
