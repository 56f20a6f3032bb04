// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/picture_columns.h"

#include <stdio.h>

#include <algorithm>
#include <utility>

#include "catalogue/index_recipe.h"
#include "catalogue/indexers.h"
#include "catalogue/last_picture.h"

namespace {

int32_t CountOf(int64_t number) {
    return static_cast<int32_t>(std::clamp<int64_t>(number, 0, INT32_MAX));
}

template <size_t Size>
void TextStore(const std::string &text, char (&field)[Size]) {
    snprintf(field, Size, "%s", text.c_str());
}

// False when the catalogue does not answer.
bool ColumnsFind(const char *path, PictureColumns *columns) {
    if (LastPictureTake(path, columns))
        return true;
    IndexRecipeAdd(IndexRecipeOf(Indexer::photo), path);
    return LastPictureTake(path, columns) || PictureRowOf(path, columns) >= 0;
}

} // namespace

void PictureRowUse(const char *path) {
    PictureColumns columns;
    if (PictureRowOf(path, &columns) == 1)
        LastPictureKeep(path, std::move(columns));
}

bool PictureColumnsGet(PhotoRecord *record) {
    PictureColumns columns;
    if (!ColumnsFind(record->path, &columns))
        return false;
    TextStore(columns.make, record->make);
    TextStore(columns.model, record->model);
    TextStore(columns.exposure, record->exposure);
    TextStore(columns.fnumber, record->fnumber);
    TextStore(columns.date_taken, record->date_taken);
    record->width = CountOf(columns.width);
    record->height = CountOf(columns.height);
    record->iso = CountOf(columns.iso);
    return true;
}
