// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/picture_rows.h"

#include <stdlib.h>

#include <algorithm>
#include <vector>

#include "platform/index/directory_rows.h"
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
            .iso = number("iso"),
            .create_time = VELUDBFetchText(rows, row, "create_time"),
            .file_size = number("file_size")};
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

int PictureRowsRead(Catalogue catalogue, const char *directory, const PictureTake &take) {
    const StoreOperation operation = catalogue == Catalogue::media ? StoreOperation::picturesInRange
                                                                   : StoreOperation::libraryPicturesInRange;
    RunScope scope;
    return scope.Finish(DirectoryRowsRead(
        catalogue, operation, directory,
        [&](std::string_view name, const VELUDBResult *rows, int row) { take(name, ColumnsOf(rows, row)); }));
}

int PictureRowsMark(std::span<const std::string> paths) {
    RunScope scope;
    int result = 0;
    while (!paths.empty()) {
        const auto part = paths.first(std::min(paths.size(), kMarkedAtOnce));
        paths = paths.subspan(part.size());
        std::vector<VELUDBValue> values(kMarkedAtOnce); // a place that is left is null, which no path is
        std::ranges::transform(part, values.begin(), TextValue);
        if (RunWrite(Catalogue::photo, StatementOf(StoreOperation::markPhotos), values.data(),
                     values.size()) < 0)
            result = -1;
    }
    return scope.Finish(result);
}
