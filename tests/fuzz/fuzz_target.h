// SPDX-License-Identifier: GPL-2.0-or-later
//
// All fuzz targets are one program, which is the target whose name it is called by: a program for each took two
// thirds of their build for the same headers and libraries. A target's file ends with its FuzzTarget.
#pragma once

#include <stddef.h>
#include <stdint.h>

// Tries one input, and aborts when what comes of it is wrong. Returns 0.
using FuzzTry = int (*)(const uint8_t *data, size_t size);

// Makes a target known by its name, which outlives the program.
class FuzzTarget {
public:
    FuzzTarget(const char *name, FuzzTry tried);
};
