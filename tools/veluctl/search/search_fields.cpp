// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/search_fields.h"

#include <algorithm>

#include "platform/index/media_columns.h"
#include "platform/letters.h"
#include "reader/protocol/fact_names.h"
#include "tools/shared/near_name.h"

namespace {

constexpr const char *kDates[] = {"added",      "create_time", "modify_time",
                                  "date_taken", "date",        "originaldate"};

// Columns that have several values joined; by the rules `complete` each value is a fact as well.
constexpr const char *kJoined[] = {"artist", "genre", "composer"};

// Facts that no reader finds in a file, but the daemon beside it.
constexpr const char *kBeside[] = {"subtitle", "subtitle_file_language", "companion"};

// Names that people look for.
constexpr SearchField kOthers[] = {
    {"kind", FieldKind::text},
    {"added", FieldKind::date},
    {"trouble", FieldKind::text},
    {"codec", FieldKind::text, nullptr, {"codec", "video_codec"}},
    {"audio_codec", FieldKind::text, nullptr, {"codec"}},
    {"subtitles", FieldKind::text, nullptr, {"subtitle_language", "subtitle_file_language"}, true},
    {"cover", FieldKind::flag, "has_cover"},
    {"size", FieldKind::bytes, "file_size"},
    {"camera", FieldKind::text, "camera_model"},
    {"make", FieldKind::text, "camera_make"},
    {"model", FieldKind::text, "camera_model"},
    {"exposure", FieldKind::text, "exposure_time"},
    {"fnumber", FieldKind::text, "f_number"},
    {"iso", FieldKind::number, "iso_speed"},
    {"taken", FieldKind::date, "date_taken"},
    {"resolution", FieldKind::resolution},
};

constexpr char kYearField[] = "year"; // of a photo: that in which it was taken

// What photos alone have; nobody misses it elsewhere.
constexpr const char *kOfPhotos[] = {
    "camera_make", "make",        "camera_model", "model",       "camera",       "exposure_time",
    "exposure",    "f_number",    "fnumber",      "iso_speed",   "iso",          "date_taken",
    "taken",       "lens",        "focal_length", "orientation", "gps_latitude", "gps_altitude",
    "date_source", "date_offset", "gps_longitude"};

constexpr std::string_view kPhotos = "photo";
constexpr std::string_view kLibraryPhotos = "library";

bool IsOfPhotos(std::string_view kind) {
    return kind == kPhotos || kind == kLibraryPhotos;
}

// What is known elsewhere, or has another name there.
struct OtherColumn {
    const char *field;
    std::string_view kind;
    const char *column;
};
constexpr OtherColumn kOtherColumns[] = {
    {"date", kPhotos, "date_taken"},           {"date", kLibraryPhotos, "date_taken"},
    {"camera", kLibraryPhotos, "model"},       {"camera_make", kLibraryPhotos, "make"},
    {"camera_model", kLibraryPhotos, "model"}, {"exposure_time", kLibraryPhotos, "exposure"},
    {"f_number", kLibraryPhotos, "fnumber"},   {"iso_speed", kLibraryPhotos, "iso"}};

// What nobody misses in photos and lists of songs.
constexpr const char *kOfSound[] = {
    "artist", "albumartist", "genre", "composer",      "comment",     "track",    "disc",  "year",
    "date",   "duration",    "codec", "audio_bitrate", "sample_rate", "channels", "cover", "has_cover"};

// Texts that many files have in common.
constexpr const char *kShared[] = {"subtitles",
                                   "subtitle_file_language",
                                   "artist",
                                   "albumartist",
                                   "genre",
                                   "composer",
                                   "conductor",
                                   "lyricist",
                                   "publisher",
                                   "codec",
                                   "audio_codec",
                                   "video_codec",
                                   "container",
                                   "hdr",
                                   "language",
                                   "audio_language",
                                   "subtitle_language",
                                   "keyword",
                                   "lens",
                                   "show"};

// Texts without blanks.
constexpr const char *kOneWord[] = {"subtitles",
                                    "subtitle_file_language",
                                    "kind",
                                    "codec",
                                    "audio_codec",
                                    "video_codec",
                                    "container",
                                    "hdr",
                                    "language",
                                    "audio_language",
                                    "subtitle_language",
                                    "isrc",
                                    "date_source",
                                    "date_offset",
                                    "musicbrainz_trackid",
                                    "musicbrainz_albumid",
                                    "musicbrainz_artistid"};

struct KindWord {
    const char *word;
    const char *kind;
};
constexpr KindWord kKindWords[] = {{"song", "music"}, {"film", "video"}, {"picture", "photo"}};

template <typename Names>
bool IsIn(const Names &names, std::string_view name) {
    return std::ranges::find(names, name, [](const char *one) { return std::string_view(one); }) !=
           std::end(names);
}

FieldKind KindOf(const Column &column) {
    if (IsIn(kDates, column.name))
        return FieldKind::date;
    if (column.name == std::string_view(kYearField))
        return FieldKind::year;
    switch (column.type) {
    case Type::path:
        return FieldKind::path;
    case Type::seconds:
        return FieldKind::seconds;
    case Type::bytes:
        return FieldKind::bytes;
    case Type::boolean:
        return FieldKind::boolean;
    case Type::lines:
        return FieldKind::resolution;
    case Type::integer:
    case Type::real:
        return column.name == std::string_view("has_cover") ? FieldKind::flag : FieldKind::number;
    case Type::moment:
        return FieldKind::date;
    case Type::text:
        break;
    }
    return FieldKind::text;
}

FieldKind KindOf(const FactKind &fact) {
    if (IsIn(kDates, fact.word))
        return FieldKind::date;
    return fact.type == FactType::text ? FieldKind::text : FieldKind::number;
}

std::vector<SearchField> FieldsMake() {
    std::vector<SearchField> fields;
    const auto add = [&](const SearchField &field) {
        if (std::ranges::find(fields, std::string_view(field.name), [](const SearchField &one) {
                return std::string_view(one.name);
            }) == fields.end())
            fields.push_back(field);
    };
    const std::span<const CatalogueTable> tables = CatalogueTables();
    for (const Column &column : tables.front().columns) {
        SearchField field = {column.name, KindOf(column)};
        if (IsIn(kJoined, column.name)) {
            field.facts = {column.name};
            field.several = true;
        }
        add(field);
    }
    for (const SearchField &field : kOthers)
        add(field);
    for (const FactKind &fact : kFacts)
        add({fact.word, KindOf(fact), nullptr, {fact.word}, fact.several});
    for (const char *fact : kBeside)
        add({fact, FieldKind::text, nullptr, {fact}, true});
    for (const CatalogueTable &table : tables) {
        for (const Column &column : table.columns)
            add({column.name, KindOf(column)});
    }
    return fields;
}

} // namespace

std::span<const SearchField> SearchFields() {
    static const std::vector<SearchField> fields = FieldsMake();
    return fields;
}

const SearchField *SearchFieldFind(std::string_view name) {
    for (const SearchField &field : SearchFields()) {
        if (IsSame(field.name, name))
            return &field;
    }
    return nullptr;
}

// What people call fields that have another name here.
struct OtherName {
    std::string_view name;
    const char *field;
};
constexpr OtherName kOtherNames[] = {{"format", "codec"},    {"extension", "codec"}, {"type", "kind"},
                                     {"length", "duration"}, {"singer", "artist"},   {"stars", "rating"}};

std::string SearchFieldHint(std::string_view name) {
    const auto other =
        std::ranges::find_if(kOtherNames, [&](const OtherName &one) { return IsSame(name, one.name); });
    if (other != std::end(kOtherNames))
        return std::string("; did you mean ") + other->field + "?";
    std::vector<const char *> names;
    for (const SearchField &field : SearchFields())
        names.push_back(field.name);
    return MeantHint(name, names);
}

bool FieldIsShared(const SearchField &field) {
    return IsIn(kShared, field.name);
}

bool FieldIsLanguage(const SearchField &field) {
    return field.facts[0] != nullptr && std::string_view(field.facts[0]).ends_with("language");
}

bool FieldHoldsBlanks(const SearchField &field) {
    return FieldIsText(field.kind) && !IsIn(kOneWord, field.name);
}

FieldSource FieldSourceOf(const SearchField &field, const CatalogueTable &table, bool facts) {
    const std::string_view name = field.name;
    if (name == "kind")
        return {FieldPlace::kind, FieldKind::text};
    const bool is_made = (field.kind == FieldKind::resolution && table.is_media) ||
                         (name == kYearField && IsOfPhotos(table.kind));
    if (is_made)
        return {FieldPlace::made, field.kind};
    for (const OtherColumn &other : kOtherColumns) {
        if (name != other.field || table.kind != other.kind)
            continue;
        const Column &column = ColumnOf(table, other.column);
        return {FieldPlace::column, KindOf(column), &column};
    }
    if (table.is_media && facts && field.facts[0] != nullptr)
        return {FieldPlace::fact, field.kind};
    const Column *column = ColumnFind(table, field.name);
    if (column == nullptr && field.column != nullptr)
        column = ColumnFind(table, field.column);
    if (column != nullptr)
        return {FieldPlace::column, KindOf(*column), column};
    const bool is_state = name == "added" || name == "trouble";
    if (!table.is_media || (!is_state && field.facts[0] == nullptr))
        return {FieldPlace::none, field.kind};
    return {facts ? FieldPlace::state : FieldPlace::missing, field.kind};
}

bool FieldIsNever(const SearchField &field, const CatalogueTable &table) {
    return field.kind == FieldKind::resolution && table.is_media && table.kind != kKindOfFilms;
}

bool FieldIsExpected(const SearchField &field, const CatalogueTable &table) {
    const std::string_view kind = table.kind;
    if (IsIn(kOfPhotos, field.name))
        return IsOfPhotos(kind);
    if (FieldIsNever(field, table))
        return false;
    return !IsIn(kOfSound, field.name) || (kind != kPhotos && kind != "playlist");
}

const CatalogueTable *SearchKindFind(std::string_view word) {
    for (const KindWord &other : kKindWords) {
        if (IsSame(other.word, word))
            word = other.kind;
    }
    for (const CatalogueTable &table : CatalogueTables()) {
        if (IsSame(table.kind, word))
            return &table;
    }
    return nullptr;
}

std::string SearchKindSingular(std::string_view word) {
    return std::string(word.substr(0, word.size() - (word.ends_with('s') ? 1 : 0)));
}

std::vector<const char *> SearchKindWords() {
    std::vector<const char *> words;
    for (const KindWord &word : kKindWords)
        words.push_back(word.word);
    for (const CatalogueTable &table : CatalogueTables())
        words.push_back(table.kind);
    return words;
}

std::string SearchKindNames() {
    std::string names;
    for (const CatalogueTable &table : CatalogueTables())
        names.append(names.empty() ? "" : ", ").append(table.kind);
    for (const KindWord &word : kKindWords)
        names.append(", ").append(word.word).append(" (").append(word.kind).append(")");
    return names;
}
