// SPDX-License-Identifier: GPL-2.0-or-later
//
// The tables of the catalogues as a list of steps, each leading from one version to the next.
#include "platform/index/schema.h"

#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <string>

namespace {

constexpr char kLogName[] = "schema.c";

// The two words that engines spell differently: PATH, text that compares byte by byte, and SERIAL, a key that
// the database counts up by itself.
struct Dialect {
    const char *engine;
    const char *path;
    const char *serial;
};

constexpr Dialect kDialects[] = {
    {"sqlite", "text", "integer"},
    {"postgresql", "text collate \"C\"", "serial"},
};

#define MEDIA_TABLE(name)                                                                                    \
    "create table " name                                                                                     \
    " (path PATH primary key, title text, album text, artist text, genre text, composer text, "              \
    "comment text, track integer, disc integer, year integer, duration real, audio_bitrate bigint, "         \
    "video_bitrate bigint, sample_rate bigint, channels bigint, width bigint, height bigint, file_size "     \
    "bigint, "                                                                                               \
    "create_time text, modify_time text, has_cover integer, camera_make text, camera_model text, "           \
    "exposure_time text, f_number text, date_taken text, iso_speed integer)"

// SQLite keeps a boolean as it is given, so the two spellings of the statements on albums become one.
#define PLAIN_BOOLEAN(column)                                                                                \
    column " = case when " column " is null then null when lower(" column                                    \
           ") in ('t', 'true', '1') then 't' "                                                               \
           "else 'f' end"
#define PLAIN_BOOLEANS                                                                                       \
    "on photo_share when new.public not in ('t', 'f') or new.allow_comment not in ('t', 'f') "               \
    "or new.is_subdir not in ('t', 'f') begin update photo_share set " PLAIN_BOOLEAN(                        \
        "public") ", " PLAIN_BOOLEAN("allow_comment") ", " PLAIN_BOOLEAN("is_subdir") " where shareid = "    \
                                                                                      "new.shareid; end"

struct Step {
    int version; // that the database has once all steps of this number have run
    Catalogue catalogue;
    const char *engine; // the only one that needs the step, or null
    const char *sql;
};

constexpr Step kSteps[] = {
    {1, Catalogue::media, nullptr, MEDIA_TABLE("music")},
    {1, Catalogue::media, nullptr, MEDIA_TABLE("video")},
    {1, Catalogue::media, nullptr, MEDIA_TABLE("photo")},
    {1, Catalogue::media, nullptr, MEDIA_TABLE("playlist")},
    {1, Catalogue::media, nullptr,
     "create table directory (path PATH primary key, title text, create_time text, modify_time text)"},
    {1, Catalogue::photo, nullptr,
     "create table photo_image (id SERIAL primary key, path PATH unique, name text, title text, description "
     "text, "
     "album text, make text, model text, exposure text, fnumber text, date_taken text, create_time text, "
     "width integer, height integer, iso integer, file_size bigint, updated text)"},
    {1, Catalogue::photo, nullptr,
     "create table video_desc (path PATH primary key, title text, description text, updated text)"},
    {1, Catalogue::photo, nullptr,
     "create table video_comment (id SERIAL primary key, path PATH, name text, comment text, date text)"},
    {1, Catalogue::photo, nullptr, "create index video_comment_path on video_comment (path)"},
    {1, Catalogue::photo, nullptr,
     "create table photo_share (shareid integer primary key, sharename PATH unique, title text, description "
     "text, "
     "public boolean, hits integer, cover text, allow_comment boolean, is_subdir boolean, updated text)"},
    {1, Catalogue::photo, "sqlite", "create trigger photo_share_insert after insert " PLAIN_BOOLEANS},
    {1, Catalogue::photo, "sqlite",
     "create trigger photo_share_update after update of public, allow_comment, is_subdir " PLAIN_BOOLEANS},
    {1, Catalogue::photo, nullptr,
     "create table photo_access_right (userid integer, shareid integer, granted text)"},
};

#undef PLAIN_BOOLEANS
#undef PLAIN_BOOLEAN
#undef MEDIA_TABLE

int NewestVersion(Catalogue catalogue) {
    int newest = 0;
    for (const Step &step : kSteps)
        if (step.catalogue == catalogue && step.version > newest)
            newest = step.version;
    return newest;
}

// The version of the database, 0 for a table without a row, or -1 when there is no such table yet.
int VersionOf(VELUDB *db) {
    VELUDBResult *rows = nullptr;
    if (VELUDBExecute(db, "select version from schema_version", &rows) < 0)
        return -1;
    const char *field = VELUDBFetchField(rows, 0, "version");
    const int version = field != nullptr ? atoi(field) : 0;
    VELUDBFreeResult(rows);
    return version;
}

std::string InDialect(const char *sql, const char *engine) {
    const Dialect *dialect = &kDialects[0];
    for (const Dialect &candidate : kDialects)
        if (strcmp(candidate.engine, engine) == 0)
            dialect = &candidate;
    std::string text(sql);
    const struct {
        const char *word;
        const char *meaning;
    } words[] = {{"PATH", dialect->path}, {"SERIAL", dialect->serial}};
    for (const auto &[word, meaning] : words)
        for (size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + strlen(meaning)))
            text.replace(at, strlen(word), meaning);
    return text;
}

int RunSteps(VELUDB *db, Catalogue catalogue, int version) {
    const char *engine = VELUDBEngineName(db);
    for (const Step &step : kSteps) {
        const bool wanted = step.engine == nullptr || strcmp(step.engine, engine) == 0;
        if (step.catalogue != catalogue || step.version <= version || !wanted)
            continue;
        if (VELUDBExecute(db, InDialect(step.sql, engine).c_str(), nullptr) < 0)
            return -1;
    }
    const std::string newest = std::to_string(NewestVersion(catalogue));
    if (VELUDBExecute(db, "delete from schema_version", nullptr) < 0)
        return -1;
    return VELUDBExecute(db, ("insert into schema_version values (" + newest + ")").c_str(), nullptr);
}

// Another program may have been first: the version counts that stands once the transaction is ours.
int Migrate(VELUDB *db, Catalogue catalogue) {
    if (VELUDBBegin(db) != 0)
        return -1;
    int result = VELUDBExecute(db, "create table if not exists schema_version (version integer)", nullptr);
    if (result >= 0) {
        const int version = VersionOf(db);
        result = version >= NewestVersion(catalogue) ? 0 : RunSteps(db, catalogue, version);
    }
    return result < 0 ? -1 : VELUDBCommit(db);
}

} // namespace

int SchemaApply(VELUDB *db, Catalogue catalogue) {
    const int newest = NewestVersion(catalogue);
    int version = VersionOf(db);
    if (version < newest) {
        if (Migrate(db, catalogue) != 0) {
            syslog(LOG_ERR, "%s (%d) Failed to prepare the tables. (%s)", kLogName, __LINE__,
                   VELUDBErrorGet(db));
            VELUDBRollback(db);
            return -1;
        }
        version = VersionOf(db);
    }
    if (version > newest) {
        syslog(LOG_ERR,
               "%s (%d) The database has tables of version %d, this program knows them up to version %d.",
               kLogName, __LINE__, version, newest);
        return -1;
    }
    return 0;
}
