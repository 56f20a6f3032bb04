// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the catalogues have of a path, and by which rule.
#include <sys/stat.h>

#include <algorithm>

#include "catalogue/file_stamp.h"
#include "catalogue/file_trouble.h"
#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "photo/photo_index.h"
#include "platform/media_record.h"
#include "platform/rule_set.h"
#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/shell_word.h"
#include "tools/veluctl/why/why.h"

namespace {

void TextPut(RecordPart *part, const char *name, std::string value) {
    part->columns.push_back({name, name, Type::text});
    part->values.emplace_back(std::move(value));
}

void MomentPut(RecordPart *part, const char *name, std::string value) {
    part->columns.push_back({name, name, Type::moment});
    part->values.emplace_back(std::move(value));
}

// The tables that have a path, and when its file was written, as its media row has it.
bool KindsRead(CatalogueReader *reader, const std::string &path, Catalogued *found, std::string *written) {
    bool has_photos = true; // a machine without a photo library has no such catalogue
    for (const CatalogueTable &table : CatalogueTables()) {
        const bool is_media = table.catalogue == Catalogue::media;
        if (!table.keeps_paths || (!is_media && !has_photos))
            continue;
        const ResultHandle rows =
            CatalogueQuery(reader, table.catalogue,
                           std::string("select ") + (is_media ? "modify_time" : "path") + " as n from " +
                               table.table + " where path = $1",
                           {path});
        if (rows == nullptr && is_media)
            return false;
        has_photos = has_photos && (rows != nullptr || is_media);
        if (rows == nullptr || VELUDBRowCount(rows.get()) == 0)
            continue;
        found->kinds.push_back(table.kind);
        if (is_media)
            *written = VELUDBFetchText(rows.get(), 0, "n");
    }
    return true;
}

// The name of the program, or of the daemon's module, that reads a file.
std::string ReaderOf(const IndexHandler &handler, const std::string &path) {
    const IndexRecipe &recipe = IndexRecipeOf(handler.indexer);
    if (const ByReader *by = IndexRecipeReader(recipe, path.c_str()); by != nullptr)
        return by->use.first == ReaderKind::films ? "velureader-films" : "velureader";
    if (RuleSetActive() == RuleSet::appliance && recipe.read != nullptr)
        return std::string("the daemon's ") + recipe.log_name;
    return "none: its name, size and times are all";
}

void RulePut(const std::string &path, Catalogued *found) {
    const IndexHandler *handler = IndexHandlerOf(path.c_str());
    const std::string rules = RuleSetWord(RuleSetActive());
    if (handler == nullptr) {
        TextPut(&found->part, "rules", rules + ", which know no such extension");
        return;
    }
    TextPut(&found->part, "rules", rules);
    TextPut(&found->part, "extension", VELUIndexExtGet(path.c_str()));
    TextPut(&found->part, "reader", ReaderOf(*handler, path));
    if (struct stat status; stat(path.c_str(), &status) == 0 && status.st_size == 0)
        TextPut(&found->part, "content", "none: the file is empty");
    const char *named = CatalogueTables()[static_cast<size_t>(IndexRecipeOf(handler->indexer).kind)].kind;
    if (std::ranges::find(found->kinds, std::string_view(named)) == found->kinds.end())
        TextPut(&found->part, "content", std::string("not what the extension names (") + named + ")");
}

// What has become of a file since it was read.
std::string SinceThen(const std::string &stamp, const std::string &path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return "not to be told: it cannot be looked at";
    if (stamp.empty())
        return "not known: it is read again when it is asked for next";
    if (FileStampHolds(stamp, FileStampOf(status)) == StampHolds::no)
        return "changed: it is read again when it is asked for next";
    return FileStampIsOlder(stamp) ? "unchanged, but an older version has read it" : "unchanged";
}

Reason TroubleReason(const std::string &path, const std::string &trouble) {
    return {kTroubleWord,
            "it could not be read, so that its row has what its name says: its content is damaged, or not "
            "what its "
            "name says (" +
                trouble + "). Repair it, or put a good copy in its place; it is tried again when it " +
                (TroubleHolds(trouble) ? "changes" : "is asked for next"),
            AddCommandLine(path)};
}

bool StatePut(CatalogueReader *reader, const std::string &path, Catalogued *found) {
    const int there = FileTablesLook(reader);
    if (there <= 0) {
        TextPut(&found->part, "added", "not known: the rules appliance keep no such time");
        return there == 0;
    }
    const ResultHandle rows =
        CatalogueQuery(reader, Catalogue::media,
                       "select s.added, s.stamp, s.trouble from file_state s where s.path = $1", {path});
    if (rows == nullptr)
        return false;
    if (VELUDBRowCount(rows.get()) == 0)
        return true;
    const std::string stamp = VELUDBFetchText(rows.get(), 0, "stamp");
    const std::string trouble = VELUDBFetchText(rows.get(), 0, "trouble");
    MomentPut(&found->part, "added", VELUDBFetchText(rows.get(), 0, "added"));
    TextPut(&found->part, "since_then", SinceThen(stamp, path));
    if (!stamp.empty())
        TextPut(&found->part, kStampName, stamp);
    if (!trouble.empty())
        found->against = TroubleReason(path, trouble);
    return true;
}

// Why a picture of the photo share is not in the photo library.
void LibraryPut(const std::string &path, Catalogued *found) {
    struct stat status;
    const bool known = std::ranges::find(found->kinds, std::string_view("library")) != found->kinds.end();
    if (known || !IsInPhotoLibrary(path.c_str()) ||
        std::ranges::find(found->kinds, std::string_view("photo")) == found->kinds.end() ||
        stat(path.c_str(), &status) != 0)
        return;
    TextPut(&found->part, "photo_library",
            !IsLibrarySize(status.st_size) ? "left out: it is empty, or too large"
            : !IsLibraryPath(path.c_str()) ? "left out by its name"
                                           : "not yet");
}

} // namespace

bool CataloguedRead(CatalogueReader *reader, const std::string &path, Catalogued *found) {
    std::string written;
    if (!KindsRead(reader, path, found, &written))
        return false;
    if (found->kinds.empty())
        return true;
    std::string kinds;
    for (const char *kind : found->kinds)
        kinds.append(kinds.empty() ? "" : ", ").append(kind);
    TextPut(&found->part, "kind", kinds);
    const bool is_directory =
        std::ranges::find(found->kinds, std::string_view("directory")) != found->kinds.end();
    if (!is_directory)
        RulePut(path, found);
    if (!is_directory && !StatePut(reader, path, found))
        return false;
    MomentPut(&found->part, "written", written);
    LibraryPut(path, found);
    if (std::optional<Reason> reason = ReasonOfRules(reader, path))
        found->against = reason;
    if (found->against && found->against->word == std::string_view(kGoneWord))
        found->against->command = "sudo veluctl remove --wait " + ShellWord(path);
    return true;
}
