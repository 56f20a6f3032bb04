// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files made of a test's bytes, for what looks at their content.
#pragma once

#include <string>
#include <string_view>

#include "reader/content/content.h"

// What a file of these bytes is, under a name with this extension.
ContentFormat LookAt(std::string_view bytes, const std::string &extension = {});

// Numbers as little-endian bytes.
std::string LittleBytes(uint64_t value, size_t size);
