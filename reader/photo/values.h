// SPDX-License-Identifier: GPL-2.0-or-later
//
// From a value in the library's terms to a fact in the catalogue's.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "reader/photo/exiv2.h"
#include "reader/protocol/fact_list.h"

// Where a value goes.
struct FactPlace {
    FactName name;
    FactList *facts;
    std::string_view charset; // of bytes that do not say theirs
};

// Adds what a value says as a fact; nothing when it says nothing.
using ValueConvert = void (*)(const Exiv2::Value &value, const FactPlace &place);

void ConvertText(const Exiv2::Value &value, const FactPlace &place);       // each of several
void ConvertOneText(const Exiv2::Value &value, const FactPlace &place);    // the first of all that say it
void ConvertParts(const Exiv2::Value &value, const FactPlace &place);      // between semicolons
void ConvertUtf16(const Exiv2::Value &value, const FactPlace &place);      // in bytes, as Windows writes it
void ConvertUtf16Parts(const Exiv2::Value &value, const FactPlace &place); // likewise, between semicolons
void ConvertComment(const Exiv2::Value &value, const FactPlace &place);    // with its character set
void ConvertNumber(const Exiv2::Value &value, const FactPlace &place);
void ConvertExposure(const Exiv2::Value &value, const FactPlace &place); // "1/125 sec."
void ConvertAperture(const Exiv2::Value &value, const FactPlace &place); // "f/2.8"
void ConvertIso(const Exiv2::Value &value, const FactPlace &place);
void ConvertOrientation(const Exiv2::Value &value, const FactPlace &place); // 1 to 8

// The texts of a value: one, or those of a list.
std::vector<std::string> ValueTexts(const Exiv2::Value &value, std::string_view charset);

// Number `position` of a value; false when there is none, or it is divided by 0.
bool ValueNumber(const Exiv2::Value &value, long position, double *number);
