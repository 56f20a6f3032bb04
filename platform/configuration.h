// SPDX-License-Identifier: GPL-2.0-or-later
//
// The configuration: every key that is read, with its file, its default and what it means. The manual
// veluinfo.conf(5), the sample file and `veluctl config` come from this table; a reader names its key here and
// states nothing of it again.
#pragma once

#include <stddef.h>

#include <iterator>
#include <string_view>

inline constexpr char kConfigurationFile[] = "/etc/veluinfo.conf";
inline constexpr char kDefaultsFile[] = "/etc.defaults/veluinfo.conf";

// What a key's value has to be.
enum class ConfigurationKind {
    catalogue, // sqlite:PATH with an absolute path, or a postgresql:// URI
    folder,    // an absolute path
    program,   // a command of the shell; its first word is the program
    word,      // one of `words`
    any_case,  // the same in whatever case
    count,     // kAuto, or a whole number from 1 on
    charset,   // kAuto, or a character set
    seconds,   // a whole number from 1 to kSecondsMax
};

struct ConfigurationKey {
    const char *file;
    const char *name;
    const char *standard; // the default: it holds where the key is missing or its value is empty
    ConfigurationKind kind;
    const char *read; // when: the end of "Read ..."
    const char *meaning;
    const char *words = ""; // with a blank between them
};

inline constexpr char kAuto[] = "auto";
inline constexpr int kSecondsMax = 60; // nobody waits longer for what has come

// Chosen when the program is built.
extern const char kStandardAacDecoder[];

inline constexpr ConfigurationKey kConfigurationKeys[] = {
    {kConfigurationFile, "mediadb", "sqlite:/var/lib/velu/mediaserver.db", ConfigurationKind::catalogue,
     "with each run",
     "The media catalogue: sqlite:PATH with an absolute path, or a URI postgresql://... as libpq takes it. "
     "Folders, files and tables are made at first use."},
    {kConfigurationFile, "photodb", "sqlite:/var/lib/velu/photo.db", ConfigurationKind::catalogue,
     "with each run", "The photo catalogue, likewise, in a database of its own."},
    {kConfigurationFile, "coverdir", "/var/lib/velu/covers", ConfigurationKind::folder, "with each run",
     "The folder of the pictures that music and video files carry, an absolute path. With a relative one no "
     "covers are stored. It is made at first use."},
    {kConfigurationFile, "aacdecoder", kStandardAacDecoder, ConfigurationKind::program, "with each file",
     "The program that is asked about raw AAC files, run by the shell as PROGRAM -i FILE and killed after "
     "two minutes. It has to print the line that veluaacinfo(1) prints, on its standard output; of faad only "
     "old versions do."},
    {kConfigurationFile, "albumdefpublic", "no", ConfigurationKind::any_case, "with each album",
     "yes makes new albums of the photo library public, unless a file VELUPHOTO:PUBLIC was handed over with "
     "them. Without the key they are private, and each new album costs a log line.",
     "yes no"},
    {kConfigurationFile, "rules", "appliance", ConfigurationKind::word, "when the daemon starts",
     "By which rules files are read and catalogued. appliance: as the other programs of a storage appliance "
     "count on. complete: everything that files say of themselves, which velureader reads, with further "
     "tables in the media catalogue; the configuration that comes with a new installation of the package "
     "says "
     "so. Any other word costs a log line and counts as appliance.",
     "appliance complete"},
    {kConfigurationFile, "readers", kAuto, ConfigurationKind::count, "with each run",
     "Under the rules complete, how many programs read media files at the same time, from 1 to 4; more is 4. "
     "With auto as many as the machine has processors, at most 4. Any other value costs a log line and "
     "counts as auto."},
    {kConfigurationFile, "tagcharset", kAuto, ConfigurationKind::charset, "with each run",
     "Under the rules complete, the character set of text in media files that is not UTF-8 and does not say "
     "what it is, as old tags have it: CP1251, KOI8-R, GBK, SHIFT_JIS, ISO-8859-2 and the like. With auto "
     "that of the locale of the daemon, if it has one of single bytes (LANG=ru_RU.KOI8-R); in a UTF-8 "
     "locale, which says nothing of old tags, ISO-8859-1. Any other value costs a log line and counts as "
     "auto. What has been catalogued is read anew after T:file_state."},
    {kConfigurationFile, "quiet", "10", ConfigurationKind::seconds, "with each run",
     "Under the rules complete, how many seconds, from 1 to 60, must pass without a signal before the queue "
     "is taken over. What is copied in the meantime comes into one run. Any other value costs a log line and "
     "counts as 10."},
    {kDefaultsFile, "supportphoto", "no", ConfigurationKind::word, "when the daemon starts",
     "yes switches the photo library on.", "yes no"},
    {kDefaultsFile, "supportcinehall", "no", ConfigurationKind::word, "when the daemon starts",
     "yes switches the video application on: the film converter's queue, and renames in its tables.",
     "yes no"},
};

// Returns the key of that name. Any other name does not compile.
consteval const ConfigurationKey &ConfigurationKeyOf(std::string_view name) {
    for (const ConfigurationKey &key : kConfigurationKeys) {
        if (name == key.name)
            return key;
    }
    throw "no such key";
}

// Reads what holds: the file's value, or the default. The file's is cut to `size` - 1 bytes. Returns 0, or -1
// (and a cut text) when the default does not fit.
int ConfigurationGet(const ConfigurationKey &key, char *out, size_t size);

// Reads what the file says, cut to `size` - 1 bytes. Returns its length, or -1 (and the empty string) when file
// or key is missing.
int ConfigurationGetWritten(const ConfigurationKey &key, char *out, size_t size);

// Returns the seconds that a value of the kind `seconds` gives, or 0 when it is none.
[[nodiscard]] int ConfigurationSeconds(std::string_view value);

// Returns 1 when the file holds the key with exactly `value`.
int BlConfigurationIs(const ConfigurationKey &key, const char *value);
