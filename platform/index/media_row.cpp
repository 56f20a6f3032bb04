// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/media_row.h"

#include <math.h>
#include <string.h>

#include <algorithm>
#include <iterator>

#include "platform/index/media_columns.h"
#include "platform/index/text.h"

namespace {

// The text lives in `texts`, which has room for one of each column and so never moves.
VELUDBValue Keep(std::vector<std::string> *texts, std::string text) {
    texts->push_back(std::move(text));
    return VELUDBValue::Text(texts->back().data(), texts->back().size());
}

VELUDBValue ValueOf(const MediaInfo &record, const MediaColumn &column, std::vector<std::string> *texts) {
    const char *field = MediaField(record, column);
    switch (column.kind) {
    case ColumnKind::path:
        return VELUDBValue::Text(field, strnlen(field, column.size));
    case ColumnKind::tag:
    case ColumnKind::text:
        return Keep(texts, CatalogueText(field, column.size, MediaFieldIsUtf16(record, column)));
    case ColumnKind::number: // no number of a media file is negative
        return VELUDBValue::Integer(std::max(MediaFieldAs<int32_t>(record, column), 0));
    case ColumnKind::flag:
        return VELUDBValue::Integer(MediaFieldAs<int32_t>(record, column) != 0 ? 1 : 0);
    case ColumnKind::seconds: {
        const float seconds = MediaFieldAs<float>(record, column);
        return VELUDBValue::Real(isfinite(seconds) && seconds > 0 ? double{seconds} : 0.0);
    }
    case ColumnKind::count:
        return VELUDBValue::Integer(MediaFieldAs<uint32_t>(record, column));
    case ColumnKind::small:
        return VELUDBValue::Integer(std::min<int64_t>(MediaFieldAs<uint32_t>(record, column), INT32_MAX));
    case ColumnKind::bytes:
        break;
    }
    const uint64_t bytes = MediaFieldAs<uint64_t>(record, column);
    return VELUDBValue::Integer(static_cast<int64_t>(std::min<uint64_t>(bytes, INT64_MAX)));
}

} // namespace

std::string MediaRowStatement(const char *table) {
    std::string columns;
    std::string parameters;
    std::string updates;
    int number = 0;
    for (const MediaColumn &column : kMediaRowColumns) {
        const std::string name = column.name;
        columns += (number > 0 ? ", " : "") + name;
        parameters += (number > 0 ? ", $" : "$") + std::to_string(number + 1);
        if (number > 0)
            updates += (number > 1 ? ", " : "") + name + " = excluded." + name;
        ++number;
    }
    return std::string("insert into ") + table + " (" + columns + ") values (" + parameters +
           ") on conflict (path) do update set " + updates;
}

MediaRow MediaRowOf(const MediaInfo &record) {
    MediaRow row;
    row.texts.reserve(std::size(kMediaRowColumns));
    row.values.reserve(std::size(kMediaRowColumns));
    for (const MediaColumn &column : kMediaRowColumns)
        row.values.push_back(ValueOf(record, column, &row.texts));
    return row;
}
