// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading result sets.
#include "platform/db/result.h"

#include <string.h>

#include "platform/veludb.h"

int VELUDBRowCount(const VELUDBResult *result) {
    if (result == nullptr || result->columns.empty())
        return 0;
    return static_cast<int>(result->offsets.size() / result->columns.size());
}

int VELUDBColumnCount(const VELUDBResult *result) {
    return result == nullptr ? 0 : static_cast<int>(result->columns.size());
}

const char *VELUDBColumnName(const VELUDBResult *result, int column) {
    if (column < 0 || column >= VELUDBColumnCount(result))
        return nullptr;
    return result->columns[static_cast<size_t>(column)].c_str();
}

int VELUDBFetchRow(const VELUDBResult *result, int *row) {
    if (row == nullptr || *row < -1 || *row >= VELUDBRowCount(result) - 1)
        return -1;
    ++*row;
    return 0;
}

const char *VELUDBFetchField(const VELUDBResult *result, int row, const char *column) {
    if (column == nullptr || row < 0 || row >= VELUDBRowCount(result))
        return nullptr;
    for (size_t i = 0; i < result->columns.size(); ++i) {
        if (strcmp(result->columns[i].c_str(), column) != 0)
            continue;
        const size_t offset = result->offsets[static_cast<size_t>(row) * result->columns.size() + i];
        return offset == VELUDBResult::kNull ? nullptr : result->text.c_str() + offset;
    }
    return nullptr;
}

const char *VELUDBFetchText(const VELUDBResult *result, int row, const char *column) {
    const char *field = VELUDBFetchField(result, row, column);
    return field != nullptr ? field : "";
}

void VELUDBFreeResult(VELUDBResult *result) {
    delete result;
}
