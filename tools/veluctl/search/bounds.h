// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a search may ask for. A page or another program may hand on what anybody has typed; each word costs a look at every row.
#pragma once

#include <stddef.h>

// Bytes of a whole search: as long as a path may be.
inline constexpr size_t kSearchTextMax = 4096;

// Words and fields of one search. Engines take some hundred conditions in each other; nobody types a tenth of that.
inline constexpr size_t kSearchTermsMax = 64;

// Bytes of one word or value, but for whole paths: as many as the catalogue keeps of a folded text.
inline constexpr size_t kSearchValueMax = 256;

// Fields by which an answer is sorted or grouped: each is a value more for every row found.
inline constexpr size_t kSearchOrderMax = 8;
