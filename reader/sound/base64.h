// SPDX-License-Identifier: GPL-2.0-or-later
//
// Base64 (RFC 4648, section 4), decoded where it stands: a picture of a megabyte is in memory once.
#pragma once

#include <stdint.h>

#include <span>

#include "reader/syntax/cursor.h"

// Returns the bytes, which lie at the begin of `text` then. The first '=' ends it; nothing where there is anything else that does
// not belong there.
Bytes Base64Decode(std::span<uint8_t> text);
