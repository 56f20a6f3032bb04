// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/index.h"

#include <string.h>
#include <syslog.h>

#include <string>

#include "catalogue/subtitles.h"
#include "daemon/directory.h"
#include "daemon/index_left_out.h"
#include "daemon/walk_above.h"
#include "daemon/walk_rules.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "index.c";

// "Failed to parse media metadata" in the appliance's event log, and its class and level there.
constexpr uint32_t kEventParseFailed = 0x11B00510;
constexpr int kEventClass = 2;
constexpr int kEventLevel = 3;

// A file that no indexer takes may have a row all the same, from other rules or another program. The row of one that is still
// there stays.
bool UnindexedRemove(const char *path) {
    return RuleSetActive() != RuleSet::complete || IsFileExist(path, nullptr) || IndexRowsRemove(path) == 0;
}

bool IsIndexedBaseName(const char *path) {
    const char *slash = strrchr(path, '/');
    return slash != nullptr && IsIndexedName(slash + 1);
}

} // namespace

const IndexHandler *IndexHandlerOf(const char *path) {
    const char *extension = VELUIndexExtGet(path);
    return extension != nullptr ? IndexHandlerFind(extension) : nullptr;
}

LeftOut FileLeftOut(const char *path) {
    if (IndexHandlerOf(path) != nullptr)
        return IsIndexedBaseName(path) ? LeftOut::nothing : LeftOut::hidden;
    const char *extension = VELUIndexExtGet(path);
    const LeftOut why = extension != nullptr ? ExtensionLeftOut(extension) : LeftOut::nothing;
    return why != LeftOut::nothing ? why : LeftOut::unknown;
}

bool IsIndexedPath(const char *path) {
    return FileLeftOut(path) == LeftOut::nothing;
}

bool IsLeftOutPath(const char *path) {
    const NameRules &rules = ActiveWalkRules().index;
    if (!rules.down_to)
        return false;
    IgnoreRules ignore;
    const LeftOut why = PathLeftOut(rules, path, IsDirExist(path) != 0, &ignore);
    if (why == LeftOut::nothing)
        return false;
    LeftOutCount(LeftOutCounted(), why);
    return true;
}

ReadTicket IndexFileHandOver(const char *path) {
    if (RuleSetActive() != RuleSet::complete || !IsIndexedBaseName(path))
        return 0;
    const IndexHandler *handler = IndexHandlerOf(path);
    const ByReader *by =
        handler != nullptr ? IndexRecipeReader(IndexRecipeOf(handler->indexer), path) : nullptr;
    return by != nullptr ? FileHandOver(path, by->use) : 0;
}

void SubtitleFilmsUpdate(const char *path) {
    if (!IsSubtitle(path))
        return;
    for (const std::string &film : FilmsOf(path)) {
        const IndexHandler *handler = IndexHandlerOf(film.c_str());
        if (handler != nullptr && IndexRecipeOf(handler->indexer).kind == kMediaVideo &&
            !IsLeftOutPath(film.c_str()))
            IndexFileAdd(film.c_str(), kIndexAdd);
    }
}

int IndexFileAdd(const char *path, int mode) {
    if (path == nullptr) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    if (mode != kIndexAdd && mode != kIndexRemove) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    if (IsDirExist(path)) {
        if (mode == kIndexAdd)
            DirectoryAdd(path);
        return 0;
    }
    const IndexHandler *handler = IndexHandlerOf(path);
    if (handler == nullptr && mode == kIndexAdd)
        LeftOutCount(LeftOutCounted(), FileLeftOut(path));
    if (handler == nullptr && mode == kIndexRemove && !UnindexedRemove(path))
        return -1;
    if (handler == nullptr)
        return VELUIndexExtGet(path) == nullptr ? -1 : 0;
    if (mode == kIndexRemove)
        return IndexRecipeRemove(IndexRecipeOf(handler->indexer), path);
    if (!IsIndexedBaseName(path))
        return -1;
    const int result = IndexRecipeAdd(IndexRecipeOf(handler->indexer), path);
    if (result == 1) {
        syslog(LOG_ERR, "%s:%d Failed to parse media metadata of file [%s].", kLogName, __LINE__, path);
        VELULogSet1(kEventClass, kEventLevel, kEventParseFailed, path, "", "", "");
        return -1;
    }
    return result == kSavedUnread ? -1 : result;
}
