// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files with the same bytes.
#pragma once

#include "tools/veluctl/duplicates/copies.h"

// Compares sizes in the catalogue; only files of a size that another one has are looked at on the disk, and read. The largest come
// first; the names of a group are in their order. False, with the reason in the reader, when the catalogue cannot be read.
[[nodiscard]] bool EqualBytesFind(CopySearch *search);
