// SPDX-License-Identifier: GPL-2.0-or-later
//
// The names of ID3v2 frames.
#pragma once

#include <string>
#include <string_view>

// Returns the name that a frame has from version 2.3 on; empty for what is no name.
std::string Id3NameOf(std::string_view name);
