// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/index.h"

#include <string.h>
#include <syslog.h>

#include "daemon/directory.h"
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

bool IsIndexedBaseName(const char *path) {
    const char *slash = strrchr(path, '/');
    return slash != nullptr && IsIndexedName(slash + 1);
}

} // namespace

const IndexHandler *IndexHandlerOf(const char *path) {
    const char *extension = VELUIndexExtGet(path);
    return extension != nullptr ? IndexHandlerFind(extension) : nullptr;
}

bool IsIndexedPath(const char *path) {
    return IndexHandlerOf(path) != nullptr && IsIndexedBaseName(path);
}

ReadTicket IndexFileHandOver(const char *path) {
    if (RuleSetActive() != RuleSet::complete || !IsIndexedPath(path))
        return 0;
    const ByReader *by = IndexRecipeReader(IndexRecipeOf(IndexHandlerOf(path)->indexer), path);
    return by != nullptr ? FileHandOver(path, by->first) : 0;
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
    if (VELUIndexExtGet(path) == nullptr)
        return -1;
    const IndexHandler *handler = IndexHandlerOf(path);
    if (handler == nullptr)
        return 0;
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
