// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/last_picture.h"

#include <optional>
#include <string>
#include <utility>

namespace {

struct LastPicture {
    std::string path;
    PictureColumns columns;
};

std::optional<LastPicture> last_picture;

} // namespace

void LastPictureKeep(const MediaInfo &record) {
    last_picture = {.path = record.path,
                    .columns = {.make = record.camera_make,
                                .model = record.camera_model,
                                .exposure = record.exposure_time,
                                .fnumber = record.f_number,
                                .date_taken = record.date_taken,
                                .width = record.width,
                                .height = record.height,
                                .iso = record.iso_speed}};
}

void LastPictureKeep(const char *path, PictureColumns columns) {
    last_picture = {.path = path, .columns = std::move(columns)};
}

void LastPictureForget() {
    last_picture.reset();
}

bool LastPictureTake(const char *path, PictureColumns *columns) {
    std::optional<LastPicture> taken = std::exchange(last_picture, std::nullopt);
    if (!taken || taken->path != path)
        return false;
    *columns = std::move(taken->columns);
    return true;
}
