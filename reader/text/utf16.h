// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

#include "reader/syntax/cursor.h"

// Returns UTF-16 in one order, without a mark, as UTF-8. Half a pair becomes U+FFFD.
std::string TextOfUtf16(Bytes text, ByteOrder order);
