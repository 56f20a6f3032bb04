// SPDX-License-Identifier: GPL-2.0-or-later
//
// The folded names of files.
#include <stdlib.h>

#include "platform/folding/folding.h"
#include "platform/index/file_state.h"
#include "platform/index/folded_rows.h"
#include "platform/index/run.h"
#include "platform/index/run_session.h"
#include "platform/index/text.h"
#include "platform/limits.h"

namespace {

constexpr int kPortionNames = 500;

} // namespace

std::string FileNameFolded(std::string_view path) {
    return TextFolded(CatalogueText(path.substr(path.rfind('/') + 1)), kFactFoldedMax);
}

int FileNamesFold() {
    if (SessionOf(Catalogue::media).connection == nullptr || !SessionHasFiles())
        return 0;
    for (int64_t last = 0;;) {
        const ResultHandle files = RunRead(Catalogue::media, StatementOf(StoreOperation::filesUnfolded),
                                           {VELUDBValue::Integer(last), VELUDBValue::Integer(kPortionNames)});
        if (files == nullptr)
            return -1;
        FoldedRows names = FoldedNames();
        for (int row = -1; VELUDBFetchRow(files.get(), &row) == 0;) {
            const char *id = VELUDBFetchText(files.get(), row, "id");
            last = strtoll(id, nullptr, 10);
            names.fields.insert(names.fields.end(),
                                {id, FileNameFolded(VELUDBFetchText(files.get(), row, "path"))});
        }
        const bool written =
            FoldedRowsWrite(names, [](int statement, const std::vector<VELUDBValue> &values) {
                return RunWrite(Catalogue::media, statement, values.data(), values.size()) >= 0;
            });
        if (!written)
            return -1;
        if (VELUDBRowCount(files.get()) < kPortionNames)
            return 0;
    }
}
