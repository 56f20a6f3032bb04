// SPDX-License-Identifier: GPL-2.0-or-later
//
// Spans of time for people.
#pragma once

#include <stdint.h>

#include <string>

// Returns a span in its largest unit: "3 hours".
std::string SpanText(int64_t seconds);
