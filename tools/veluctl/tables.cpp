// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/tables.h"

#include <algorithm>

namespace {

constexpr Column kMedia[] = {
    {"title", "TITLE", Type::text},
    {"artist", "ARTIST", Type::text},
    {"album", "ALBUM", Type::text},
    {"genre", "GENRE", Type::text},
    {"composer", "COMPOSER", Type::text},
    {"comment", "COMMENT", Type::text},
    {"track", "TRACK", Type::integer},
    {"disc", "DISC", Type::integer},
    {"year", "YEAR", Type::integer},
    {"duration", "TIME", Type::seconds},
    {"audio_bitrate", "AUDIO BIT/S", Type::integer},
    {"video_bitrate", "VIDEO BIT/S", Type::integer},
    {"sample_rate", "HZ", Type::integer},
    {"channels", "CHANNELS", Type::integer},
    {"width", "WIDTH", Type::integer},
    {"height", "HEIGHT", Type::integer},
    {"file_size", "SIZE", Type::bytes},
    {"create_time", "CHANGED", Type::text},
    {"modify_time", "WRITTEN", Type::text},
    {"has_cover", "COVER", Type::integer},
    {"camera_make", "MAKE", Type::text},
    {"camera_model", "CAMERA", Type::text},
    {"exposure_time", "EXPOSURE", Type::text},
    {"f_number", "F", Type::text},
    {"date_taken", "TAKEN", Type::text},
    {"iso_speed", "ISO", Type::integer},
    {"path", "PATH", Type::text},
};
constexpr const char *kMediaTexts[] = {"path", "title", "artist", "album", "genre", "composer", "comment"};
constexpr const char *kMediaBrief[] = {"title", "artist", "album", "duration", "file_size", "path"};
constexpr const char *kPictureBrief[] = {"title",        "width",     "height", "date_taken",
                                         "camera_model", "file_size", "path"};

constexpr Column kDirectory[] = {
    {"title", "TITLE", Type::text},
    {"create_time", "CHANGED", Type::text},
    {"modify_time", "WRITTEN", Type::text},
    {"path", "PATH", Type::text},
};
constexpr const char *kDirectoryTexts[] = {"path"};
constexpr const char *kDirectoryBrief[] = {"title", "modify_time", "path"};

constexpr Column kLibrary[] = {
    {"id", "ID", Type::integer},
    {"name", "NAME", Type::text},
    {"title", "TITLE", Type::text},
    {"description", "DESCRIPTION", Type::text},
    {"album", "ALBUM", Type::text},
    {"make", "MAKE", Type::text},
    {"model", "CAMERA", Type::text},
    {"exposure", "EXPOSURE", Type::text},
    {"fnumber", "F", Type::text},
    {"date_taken", "TAKEN", Type::text},
    {"create_time", "CHANGED", Type::text},
    {"width", "WIDTH", Type::integer},
    {"height", "HEIGHT", Type::integer},
    {"iso", "ISO", Type::integer},
    {"file_size", "SIZE", Type::bytes},
    {"updated", "MARK", Type::text},
    {"path", "PATH", Type::text},
};
constexpr const char *kLibraryTexts[] = {"path", "title", "description", "album", "make", "model"};
constexpr const char *kLibraryBrief[] = {"title",      "album", "width",     "height",
                                         "date_taken", "model", "file_size", "path"};

constexpr Column kVideoDescription[] = {
    {"title", "TITLE", Type::text},
    {"description", "DESCRIPTION", Type::text},
    {"updated", "MARK", Type::text},
    {"path", "PATH", Type::text},
};
constexpr const char *kVideoDescriptionTexts[] = {"path", "title", "description"};
constexpr const char *kVideoDescriptionBrief[] = {"title", "description", "path"};

constexpr Column kAlbum[] = {
    {"shareid", "ID", Type::integer},
    {"title", "TITLE", Type::text},
    {"description", "DESCRIPTION", Type::text},
    {"public", "PUBLIC", Type::boolean},
    {"hits", "HITS", Type::integer},
    {"cover", "COVER", Type::text},
    {"allow_comment", "COMMENTS", Type::boolean},
    {"is_subdir", "BELOW", Type::boolean},
    {"updated", "MARK", Type::text},
    {"sharename", "ALBUM", Type::text},
};
constexpr const char *kAlbumTexts[] = {"sharename", "title", "description"};
constexpr const char *kAlbumBrief[] = {"shareid", "title", "public", "hits", "sharename"};

constexpr CatalogueTable kTables[] = {
    {"music", "music", Catalogue::media, "path", true, true, kMedia, kMediaBrief, kMediaTexts},
    {"video", "video", Catalogue::media, "path", true, true, kMedia, kMediaBrief, kMediaTexts},
    {"photo", "photo", Catalogue::media, "path", true, true, kMedia, kPictureBrief, kMediaTexts},
    {"playlist", "playlist", Catalogue::media, "path", true, true, kMedia, kMediaBrief, kMediaTexts},
    {"directory", "directory", Catalogue::media, "path", false, true, kDirectory, kDirectoryBrief,
     kDirectoryTexts},
    {"library", "photo_image", Catalogue::photo, "path", false, true, kLibrary, kLibraryBrief, kLibraryTexts},
    {"description", "video_desc", Catalogue::photo, "path", false, true, kVideoDescription,
     kVideoDescriptionBrief, kVideoDescriptionTexts},
    {"album", "photo_share", Catalogue::photo, "sharename", false, false, kAlbum, kAlbumBrief, kAlbumTexts},
};

} // namespace

std::span<const CatalogueTable> CatalogueTables() {
    return kTables;
}

const Column &ColumnOf(const CatalogueTable &table, std::string_view name) {
    return *std::find_if(table.columns.begin(), table.columns.end(),
                         [&](const Column &column) { return name == column.name; });
}
