// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/directory_rows.h"

#include <algorithm>
#include <string>

#include "platform/index/rows.h"
#include "platform/index/run.h"
#include "platform/path.h"

namespace {

// A portion grows as long as it holds nothing but files of the directory itself, and begins anew behind a folder of it.
constexpr int kFirstPortion = 64;
constexpr int kLastPortion = 2048;

// Takes what a portion has of the directory of `size` bytes, and gives where the next one begins. Returns whether it met
// folders.
bool PortionTake(size_t size, const VELUDBResult *rows, std::string *low, const DirectoryRowTake &take) {
    bool folders = false;
    std::string_view last;
    for (int row = -1; VELUDBFetchRow(rows, &row) == 0;) {
        const std::string_view path = VELUDBFetchText(rows, row, "path");
        if (path < *low) // in a folder that is done with
            continue;
        const size_t slash = path.find('/', size + 1);
        folders = folders || slash != std::string_view::npos;
        last = path;
        if (slash != std::string_view::npos)
            *low = RangeUnder(std::string(path.substr(0, slash))).high;
        else
            take(path.substr(size + 1), rows, row);
    }
    if (last >= *low)
        *low = std::string(last) + kLeastPathByte;
    return folders;
}

} // namespace

int DirectoryRowsRead(Catalogue catalogue, StoreOperation operation, const char *directory,
                      const DirectoryRowTake &take) {
    const std::string path = WithoutTrailingSlashes(directory);
    PathRange range = RangeUnder(path);
    for (int portion = kFirstPortion;;) {
        const ResultHandle rows =
            RunRead(catalogue, StatementOf(operation),
                    {TextValue(range.low), TextValue(range.high), VELUDBValue::Integer(portion)});
        if (rows == nullptr)
            return -1;
        const bool folders = PortionTake(path.size(), rows.get(), &range.low, take);
        if (VELUDBRowCount(rows.get()) < portion)
            return 0;
        portion = folders ? kFirstPortion : std::min(4 * portion, kLastPortion);
    }
}
