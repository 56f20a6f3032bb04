// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/picture_rows.h"

#include <stdlib.h>

#include "platform/index/run.h"
#include "platform/index/statements.h"
#include "platform/veluindex.h"

namespace {

PictureColumns ColumnsOf(const VELUDBResult *rows, int row) {
    const auto number = [&](const char *name) {
        return strtoll(VELUDBFetchText(rows, row, name), nullptr, 10);
    };
    return {.make = VELUDBFetchText(rows, row, "make"),
            .model = VELUDBFetchText(rows, row, "model"),
            .exposure = VELUDBFetchText(rows, row, "exposure"),
            .fnumber = VELUDBFetchText(rows, row, "fnumber"),
            .date_taken = VELUDBFetchText(rows, row, "date_taken"),
            .width = number("width"),
            .height = number("height"),
            .iso = number("iso")};
}

} // namespace

int PictureRowOf(const char *path, PictureColumns *columns) {
    RunScope scope;
    const std::string key = path;
    const ResultHandle rows =
        RunRead(Catalogue::media, StatementOf(StoreOperation::pictureOf), {TextValue(key)});
    if (rows == nullptr)
        return scope.Finish(-1);
    const bool there = VELUDBRowCount(rows.get()) > 0;
    if (there)
        *columns = ColumnsOf(rows.get(), 0);
    return scope.Finish(there ? 1 : 0);
}
