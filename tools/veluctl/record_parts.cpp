// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/record_parts.h"

#include <stdio.h>

#include "platform/index/media_columns.h"
#include "platform/index/text.h"

namespace {

// Puts values that say something beside their columns.
struct Filling {
    RecordPart part;

    void Number(const char *name, int64_t value, Type type = Type::integer) {
        if (value != 0)
            Put({name, name, type}, std::to_string(value));
    }
    // Text as the catalogue would keep it.
    template <size_t N>
    void Text(const char *name, const char (&field)[N]) {
        Text(name, field, N, false);
    }
    void Text(const char *name, const char *field, size_t size, bool utf16) {
        const std::string text = CatalogueText(field, size, utf16);
        if (!text.empty())
            Put({name, name, Type::text}, text);
    }
    void Seconds(const char *name, double value) {
        char text[64];
        snprintf(text, sizeof text, "%.3f", value);
        if (value > 0)
            Put({name, name, Type::seconds}, text);
    }
    void Put(const Column &column, std::string value) {
        part.columns.push_back(column);
        part.values.emplace_back(std::move(value));
    }
};

void FieldPut(const MediaInfo &record, const MediaColumn &column, Filling *filling) {
    switch (column.kind) {
    case ColumnKind::path:
    case ColumnKind::tag:
    case ColumnKind::text:
        filling->Text(column.name, MediaField(record, column), column.size,
                      MediaFieldIsUtf16(record, column));
        break;
    case ColumnKind::seconds:
        filling->Seconds(column.name, double{MediaFieldAs<float>(record, column)});
        break;
    case ColumnKind::number:
    case ColumnKind::flag:
        filling->Number(column.name, MediaFieldAs<int32_t>(record, column));
        break;
    case ColumnKind::count:
    case ColumnKind::small:
        filling->Number(column.name, MediaFieldAs<uint32_t>(record, column));
        break;
    case ColumnKind::bytes:
        filling->Number(column.name, static_cast<int64_t>(MediaFieldAs<uint64_t>(record, column)),
                        Type::bytes);
        break;
    }
}

} // namespace

RecordPart MediaPart(const char *reader, const MediaInfo &record, bool whole) {
    Filling filling{{reader, {}, {}, {}}};
    for (const MediaColumn &column : kMediaRowColumns)
        if (whole || column.source != ColumnSource::file_system)
            FieldPut(record, column, &filling);
    return filling.part;
}

RecordPart PhotoPart(const char *reader, const PhotoRecord &record) {
    Filling filling{{reader, {}, {}, {}}};
    filling.Text("make", record.make);
    filling.Text("model", record.model);
    filling.Text("exposure", record.exposure);
    filling.Text("fnumber", record.fnumber);
    filling.Text("date_taken", record.date_taken);
    filling.Number("width", record.width);
    filling.Number("height", record.height);
    filling.Number("iso", record.iso);
    return filling.part;
}

RecordPart PicturePart(const char *reader, int width, int height) {
    Filling filling{{reader, {}, {}, {}}};
    filling.Number("width", width);
    filling.Number("height", height);
    return filling.part;
}
