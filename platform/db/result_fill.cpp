// SPDX-License-Identifier: GPL-2.0-or-later
//
// Filling result sets. Apart from their reading, because modules have a copy of it.
#include "platform/db/result.h"

#include <charconv>

void ResultAddCell(VELUDBResult *result, const char *bytes, size_t length) {
    const size_t offset = result->text.size();
    result->text.append(bytes, length);
    result->text.push_back('\0');
    result->offsets.push_back(offset);
}

void ResultAddReal(VELUDBResult *result, double value) {
    char text[32]; // the shortest text that reads back is never longer
    const auto end = std::to_chars(text, text + sizeof text, value);
    ResultAddCell(result, text, static_cast<size_t>(end.ptr - text));
}

void ResultAddNull(VELUDBResult *result) {
    result->offsets.push_back(VELUDBResult::kNull);
}
