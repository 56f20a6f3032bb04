// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/index_recipe.h"

#include <stdio.h>
#include <syslog.h>

#include <vector>

#include "catalogue/listed_name.h"
#include "catalogue/util.h"
#include "daemon/path_rules.h"
#include "platform/index/file_state.h"
#include "platform/rule_set.h"
#include "platform/velusdk.h"

namespace {

int BadParameter(const IndexRecipe &recipe) {
    if (recipe.shape == LogShape::colon)
        syslog(LOG_ERR, "%s:%d Bad parameter.", recipe.log_name, __LINE__);
    else
        syslog(LOG_ERR, "%s (%d) Bad parameter.", recipe.log_name, __LINE__);
    return -1;
}

void SaveFailureLog(const IndexRecipe &recipe, const char *path) {
    switch (recipe.save_words) {
    case SaveWords::media_info:
        if (recipe.shape == LogShape::colon)
            syslog(LOG_ERR, "%s:%d Failed to save media info to database.", recipe.log_name, __LINE__);
        else
            syslog(LOG_ERR, "%s (%d) Failed to save media info to database.", recipe.log_name, __LINE__);
        break;
    case SaveWords::media_info_and_path:
        syslog(LOG_ERR, "%s:%d Failed to save media info to database. [%s]", recipe.log_name, __LINE__, path);
        break;
    case SaveWords::playlist_info:
        syslog(LOG_ERR, "%s (%d) Failed to save playlist info.", recipe.log_name, __LINE__);
        break;
    }
}

// False when the path is no existing file.
bool BasicFieldsFill(const IndexRecipe &recipe, const char *path, MediaInfo *record) {
    if (recipe.before == BasicFields::common) {
        *record = MediaInfo{};
        return MediaInfoFillBasic(path, record) == 0;
    }
    uint64_t size = 0;
    if (!IsFileExist(path, &size))
        return false;
    *record = MediaInfo{};
    snprintf(record->path, sizeof record->path, "%s", path);
    record->file_size = size;
    if (recipe.before != BasicFields::none)
        MediaTitleFromName(path, record->title);
    if (recipe.before == BasicFields::title_and_album)
        MediaAlbumFill(recipe.log_name, path, record);
    return true;
}

void AfterReadingDo(const IndexRecipe &recipe, const char *path, MediaInfo *record) {
    if (recipe.after == AfterReading::times || recipe.after == AfterReading::times_valid_then_defaults)
        VELUIndexCTimeMTimeGet(path, record->create_time, sizeof record->create_time, record->modify_time,
                               sizeof record->modify_time);
    if (recipe.after == AfterReading::valid || recipe.after == AfterReading::times_valid_then_defaults)
        MediaInfoValid(record);
    if (recipe.after == AfterReading::times_valid_then_defaults)
        MediaDefaultsFill(recipe.log_name, path, record);
}

// By the rules `complete` the content of a file decides its table, and a change of rules its recipe: it may have a row in any.
int RowRemove(const IndexRecipe &recipe, const char *path) {
    const int result = MediaInfoDBDelete(recipe.kind, path);
    return RuleSetActive() == RuleSet::complete && IndexRowsRemove(path) != 0 ? -1 : result;
}

} // namespace

int IndexRecipeFill(const IndexRecipe &recipe, const char *path, MediaInfo *record) {
    if (path == nullptr || record == nullptr || (*path == '\0' && !recipe.leaves_empty_path))
        return BadParameter(recipe);
    if (!BasicFieldsFill(recipe, path, record))
        return -1;
    const int result = recipe.read != nullptr ? recipe.read(path, record) : 0;
    if (result >= 0)
        AfterReadingDo(recipe, path, record);
    return result;
}

int IndexRecipeRecord(const IndexRecipe &recipe, const char *path, MediaInfo *record) {
    const int result = IndexRecipeFill(recipe, path, record);
    if (result >= 0 && recipe.second_read != nullptr)
        recipe.second_read(path, record);
    return result;
}

const ByReader *IndexRecipeReader(const IndexRecipe &recipe, const char *path) {
    const bool reads = RuleSetActive() == RuleSet::complete && path != nullptr && *path != '\0' &&
                       !(recipe.leaves_out_attributes && IsAttributePath(path));
    return reads ? recipe.complete : nullptr;
}

int IndexRecipeAdd(const IndexRecipe &recipe, const char *path) {
    if (const ByReader *by = IndexRecipeReader(recipe, path); by != nullptr)
        return ByReaderAdd(*by, recipe.kind, path);
    if (recipe.leaves_out_attributes && path != nullptr && IsAttributePath(path))
        return IsFileExist(path, nullptr) ? 0 : -1;
    MediaInfo record;
    const int result = IndexRecipeRecord(recipe, path, &record);
    if (result < 0)
        return -1;
    if (MediaInfoDBSave(recipe.kind, &record) == 0)
        return result;
    SaveFailureLog(recipe, path);
    return result == 0 && recipe.failed_save_fails ? -1 : result;
}

int IndexRowsRemove(const char *path) {
    std::vector<FileRow> rows;
    if (FileRowsOf(path, &rows) != 0)
        return -1;
    int result = 0;
    for (const FileRow &row : rows) {
        if (MediaInfoDBDelete(row.kind, path) != 0)
            result = -1;
    }
    return result;
}

int IndexRecipeRemove(const IndexRecipe &recipe, const char *path) {
    const char *log_name = recipe.remove_log_name;
    if (path == nullptr || *path == '\0') {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", log_name, __LINE__);
        return -1;
    }
    if (IsFileExist(path, nullptr) && IsListedName(path)) {
        syslog(LOG_ERR, "%s (%d) File exists. Skip remove it from database.", log_name, __LINE__);
        return -1;
    }
    if (RowRemove(recipe, path) == 0)
        return 0;
    if (recipe.save_words == SaveWords::playlist_info)
        syslog(LOG_ERR, "%s (%d) Failed to remove %s from database.", log_name, __LINE__, path);
    else
        syslog(LOG_ERR, "%s (%d) Failed to remove [%s] from database", log_name, __LINE__, path);
    return -1;
}
