// SPDX-License-Identifier: GPL-2.0-or-later
//
// MediaInfoValid: makes of what readers took from a file what the catalogue may hold.
#include <string.h>

#include <cmath>

#include "platform/index/media_columns.h"
#include "platform/index/text.h"
#include "platform/veluindex.h"

int MediaInfoValid(MediaInfo *record) {
    if (record == nullptr)
        return -1;
    for (const MediaColumn &column : kMediaRowColumns) {
        char *field = MediaField(record, column);
        if (column.kind == ColumnKind::text ||
            (column.kind == ColumnKind::tag && !MediaFieldIsUtf16(*record, column)))
            CatalogueTextInPlace(field, column.size);
        if (column.kind == ColumnKind::number && MediaFieldAs<int32_t>(*record, column) < 0)
            memset(field, 0, column.size);
        if (column.kind == ColumnKind::seconds) {
            const float seconds = MediaFieldAs<float>(*record, column);
            if (!std::isfinite(seconds) || seconds < 0)
                memset(field, 0, column.size);
        }
    }
    return 0;
}
