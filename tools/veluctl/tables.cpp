// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/tables.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "platform/index/media_columns.h"

namespace {

constexpr size_t kMediaColumnCount = std::size(kMediaRowColumns);

constexpr Type TypeOf(ColumnKind kind) {
    switch (kind) {
    case ColumnKind::path:
        return Type::path;
    case ColumnKind::tag:
    case ColumnKind::text:
        return Type::text;
    case ColumnKind::seconds:
        return Type::seconds;
    case ColumnKind::bytes:
        return Type::bytes;
    case ColumnKind::number:
    case ColumnKind::flag:
    case ColumnKind::count:
    case ColumnKind::small:
        break;
    }
    return Type::integer;
}

constexpr const char *kMoments[] = {"create_time", "modify_time", "date_taken"};

constexpr bool IsMoment(std::string_view name) {
    return std::any_of(std::begin(kMoments), std::end(kMoments),
                       [&](std::string_view moment) { return moment == name; });
}

// The key, which may be long, comes last.
constexpr std::array<Column, kMediaColumnCount> MediaColumnsShown() {
    std::array<Column, kMediaColumnCount> shown = {};
    for (size_t i = 0; i < kMediaColumnCount; ++i) {
        const MediaColumn &column = kMediaRowColumns[(i + 1) % kMediaColumnCount];
        shown[i] = {column.name, column.heading, IsMoment(column.name) ? Type::moment : TypeOf(column.kind)};
    }
    return shown;
}
constexpr std::array<Column, kMediaColumnCount> kMedia = MediaColumnsShown();

constexpr bool IsSearched(const MediaColumn &column) {
    return column.kind == ColumnKind::path || column.kind == ColumnKind::tag;
}
constexpr auto kMediaSearchedCount =
    static_cast<size_t>(std::count_if(std::begin(kMediaRowColumns), std::end(kMediaRowColumns), IsSearched));
constexpr std::array<const char *, kMediaSearchedCount> MediaTexts() {
    std::array<const char *, kMediaSearchedCount> texts = {};
    size_t count = 0;
    for (const MediaColumn &column : kMediaRowColumns)
        if (IsSearched(column))
            texts[count++] = column.name;
    return texts;
}
constexpr std::array<const char *, kMediaSearchedCount> kMediaTexts = MediaTexts();

constexpr const char *kMediaBrief[] = {"title", "artist", "album", "duration", "file_size", "path"};
constexpr const char *kFilmBrief[] = {"title",     "duration",  "pixels", "codec",
                                      "languages", "file_size", "path"};
constexpr const char *kPictureBrief[] = {"date_taken", "camera_model", "pixels", "file_size", "path"};
constexpr const char *kPlaylistBrief[] = {"title", "modify_time", "file_size", "path"};

constexpr Column kDirectory[] = {
    {"title", "TITLE", Type::text},
    {"create_time", "CHANGED", Type::moment},
    {"modify_time", "WRITTEN", Type::moment},
    {"path", "PATH", Type::path},
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
    {"date_taken", "TAKEN", Type::moment},
    {"create_time", "CHANGED", Type::moment},
    {"width", "WIDTH", Type::integer},
    {"height", "HEIGHT", Type::integer},
    {"iso", "ISO", Type::integer},
    {"file_size", "SIZE", Type::bytes},
    {"updated", "MARK", Type::text},
    {"path", "PATH", Type::path},
};
constexpr const char *kLibraryTexts[] = {"path", "title", "description", "album", "make", "model"};
constexpr const char *kLibraryBrief[] = {"title",      "album", "width",     "height",
                                         "date_taken", "model", "file_size", "path"};

constexpr Column kVideoDescription[] = {
    {"title", "TITLE", Type::text},
    {"description", "DESCRIPTION", Type::text},
    {"updated", "MARK", Type::text},
    {"path", "PATH", Type::path},
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
    {"sharename", "ALBUM", Type::path},
};
constexpr const char *kAlbumTexts[] = {"sharename", "title", "description"};
constexpr const char *kAlbumBrief[] = {"shareid", "title", "public", "hits", "sharename"};

constexpr CatalogueTable kTables[] = {
    {"music", kMediaTables[kMediaMusic], Catalogue::media, "path", true, true, kMedia, kMediaBrief,
     kMediaTexts},
    {"video", kMediaTables[kMediaVideo], Catalogue::media, "path", true, true, kMedia, kFilmBrief,
     kMediaTexts},
    {"photo", kMediaTables[kMediaPhoto], Catalogue::media, "path", true, true, kMedia, kPictureBrief,
     kMediaTexts},
    {"playlist", kMediaTables[kMediaPlaylist], Catalogue::media, "path", true, true, kMedia, kPlaylistBrief,
     kMediaTexts},
    {"directory", kDirectoryTable, Catalogue::media, "path", false, true, kDirectory, kDirectoryBrief,
     kDirectoryTexts},
    {"library", kPhotoTables[kPhotoTableImage], Catalogue::photo, "path", false, true, kLibrary,
     kLibraryBrief, kLibraryTexts},
    {"description", kPhotoTables[kPhotoTableVideoDesc], Catalogue::photo, "path", false, true,
     kVideoDescription, kVideoDescriptionBrief, kVideoDescriptionTexts},
    {"album", kPhotoTables[kPhotoTableShare], Catalogue::photo, "sharename", false, false, kAlbum,
     kAlbumBrief, kAlbumTexts},
};

} // namespace

std::span<const CatalogueTable> CatalogueTables() {
    return kTables;
}

const Column *ColumnFind(const CatalogueTable &table, std::string_view name) {
    const auto found = std::find_if(table.columns.begin(), table.columns.end(),
                                    [&](const Column &column) { return name == column.name; });
    return found != table.columns.end() ? &*found : nullptr;
}

const Column &ColumnOf(const CatalogueTable &table, std::string_view name) {
    return *ColumnFind(table, name);
}
