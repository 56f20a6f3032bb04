// SPDX-License-Identifier: GPL-2.0-or-later
//
// From a value in the library's terms to a fact in the catalogue's.
#pragma once

#include <string>
#include <vector>

#include "reader/photo/exiv2.h"
#include "reader/protocol/fact_list.h"

// Adds what a value says as a fact; nothing when it says nothing.
using ValueConvert = void (*)(const Exiv2::Value &value, FactName name, FactList *facts);

void ConvertText(const Exiv2::Value &value, FactName name, FactList *facts);  // each of several
void ConvertParts(const Exiv2::Value &value, FactName name, FactList *facts); // between semicolons
void ConvertUtf16(const Exiv2::Value &value, FactName name,
                  FactList *facts); // in bytes, as Windows writes it
void ConvertUtf16Parts(const Exiv2::Value &value, FactName name,
                       FactList *facts); // likewise, between semicolons
void ConvertComment(const Exiv2::Value &value, FactName name, FactList *facts); // with its character set
void ConvertNumber(const Exiv2::Value &value, FactName name, FactList *facts);
void ConvertExposure(const Exiv2::Value &value, FactName name, FactList *facts); // "1/125 sec."
void ConvertAperture(const Exiv2::Value &value, FactName name, FactList *facts); // "f/2.8"
void ConvertIso(const Exiv2::Value &value, FactName name, FactList *facts);
void ConvertOrientation(const Exiv2::Value &value, FactName name, FactList *facts); // 1 to 8

// The texts of a value: one, or those of a list.
std::vector<std::string> ValueTexts(const Exiv2::Value &value);

// Number `position` of a value; false when there is none, or it is divided by 0.
bool ValueNumber(const Exiv2::Value &value, long position, double *number);
